#!/usr/bin/env bash
# Prints the declarations of the C interface as plain C, without what is meant for preprocessors and
# compilers: for readers that know no more than that, such as cffi's.
#
#   Scripts/c-declarations.sh [-I DIRECTORY]...     (none: this project's)
set -euo pipefail
root=$(dirname "$0")/..
if (($# == 0)); then
  set -- "-I$root/"{,Platform/,QuorvelCoreSDK/,VeltraneProvidersSDK/}Include
fi
echo '#include <PellixProvidersSDK/QVLPellix.h>' |
  "${CC:-cc}" -E -P -DPELLIX_BUILDS_ITSELF '-D__attribute__(x)=' "$@" -x c - |
  sed -n '/^#/d; /typedef void QVLObject/,$p'
