#!/bin/sh
# Checks that object files run no code when they are loaded, nor when the process ends.
#
#   check-objects.sh READELF OBJECT...
set -eu
readelf=$1
shift
[ $# -gt 0 ]
seen=$("$readelf" --wide --sections --symbols "$@")
faults=$(echo "$seen" |
  grep -E '\.(init_array|fini_array|ctors|dtors)|UND (__cxa_atexit|atexit)$|^File: ' |
  grep -B 1 -v '^File: ' || true)
[ -z "$faults" ] && exit
echo "These run code when they are loaded or when the process ends:"
echo "$faults"
exit 1
