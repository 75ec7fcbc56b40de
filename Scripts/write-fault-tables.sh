#!/usr/bin/env bash
# Writes what the fault tests expect and observe into Docs/Faults.
#
#   Scripts/write-fault-tables.sh                  how requests end when a server misbehaves
#   Scripts/write-fault-tables.sh --load SECONDS   what became of that long a load
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

observed=$(mktemp)
trap 'rm -f "$observed"' EXIT

# Puts what was observed between a document's markers.
insert_into() {
  sed -i -e '/^<!-- observed -->$/,/^<!-- end -->$/{//!d}' \
    -e "/^<!-- observed -->\$/r $observed" "$1"
}

case "${1-}" in
  "")
    {
      printf '| The server | the request ends with |\n|---|---|\n'
      awk -F '\t' '
        BEGIN {
          says[8] = "could not be reached"; says[9] = "did not answer in time"
          says[11] = "no secure connection"
          says[13] = "connection lost"; says[14] = "not proper HTTP"; says[15] = "too large"
        }
        !/^#/ {
          count = split($3, codes, " ")
          for (place in codes) if (!(codes[place] in says)) {
            print "No words for the code " codes[place] ": " $1 >"/dev/stderr"
            exit 1
          }
          text = codes[1] ", " says[codes[1]]
          if (count > 1) text = text " or " codes[2] ", " says[codes[2]]
          print "| " $1 " | " text " |"
        }' Tests/QuorvelCoreSDK/Data/Faults.txt
    } >"$observed"
    insert_into Docs/Faults/MisbehavingServer.md
    ;;
  --load)
    need_packages "${packages[@]}"
    unset "${!PELLIX_@}" http_proxy https_proxy HTTPS_PROXY ALL_PROXY all_proxy NO_PROXY no_proxy
    build_preset release --target LoadTests
    PELLIX_LOAD_SECONDS=${2:?} PELLIX_LOAD_REPORT=$observed build/release/bin/LoadTests >&2
    insert_into Docs/Faults/Load.md
    ;;
  *) sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0" ;;
esac
