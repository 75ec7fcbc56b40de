#!/usr/bin/env bash
# Writes what the fault tests observe into Docs/Faults.
#
#   Scripts/write-fault-tables.sh                  how operations end when a server misbehaves
#   Scripts/write-fault-tables.sh --load SECONDS   what became of that long a load
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

unset "${!PELLIX_@}" http_proxy https_proxy HTTPS_PROXY ALL_PROXY all_proxy NO_PROXY no_proxy
need_packages "${packages[@]}"
observed=$(mktemp)
trap 'rm -f "$observed"' EXIT

# Puts what was observed between a document's markers.
insert_into() {
  sed -i -e '/^<!-- observed -->$/,/^<!-- end -->$/{//!d}' \
    -e "/^<!-- observed -->\$/r $observed" "$1"
}

case "${1-}" in
  "")
    build_preset release --target FaultTests
    PELLIX_FAULT_TABLE=$observed build/release/bin/FaultTests --gtest_filter='*MisbehavingServer*' >&2
    insert_into Docs/Faults/MisbehavingServer.md
    ;;
  --load)
    build_preset release --target LoadTests
    PELLIX_LOAD_SECONDS=${2:?} PELLIX_LOAD_REPORT=$observed build/release/bin/LoadTests >&2
    insert_into Docs/Faults/Load.md
    ;;
  *) sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0" ;;
esac
