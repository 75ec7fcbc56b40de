#!/usr/bin/env bash
# Runs the libraries' tests under valgrind's memcheck: any use of memory that is not there or not
# set, and any memory that is lost for good, is a failure.
#
#   Scripts/check-valgrind.sh [BUILD]    a plain build with tests; build/release if none is named
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

build=${1-build/release}
programs=(bin/PlatformTests bin/QuorvelCoreTests bin/VeltraneTests bin/PellixProvidersSDKTests
  bin/BridgeTests bin/LifecycleTests)

# The first takes minutes here, and the address sanitizer sees as much of it. The second makes two
# handshakes in one turn, which at valgrind's pace is more work than a server may cause.
slow='Readers.AgreeOnMutatedDocuments
SecurityTest.AsksThroughAProxyThatSeesNothingOfTheRequest'

check() {
  valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite \
    --errors-for-leak-kinds=definite --num-callers=25 --fair-sched=yes \
    "$1" --gtest_brief=1 --gtest_filter="$2" >"$log.$$" 2>&1 || { cat "$log.$$"; exit 1; }
}
log=$(mktemp -d)/log
trap 'rm -rf "${log%/log}"' EXIT
export -f check
export log

for program in "${programs[@]}"; do
  [[ -x $build/$program ]] || die "$build has no $program."
  say "Checking ${program##*/}"
  # Each test in a process of its own: some of what they look at is made once for each process.
  "$build/$program" --gtest_list_tests | awk '/^[^ ].*\.$/ { suite = $1 } /^  / { print suite $1 }' |
    grep -vFx "$slow" | xargs -P "$jobs" -I{} bash -c 'check "$@"' _ "$build/$program" {}
done
