#!/usr/bin/env bash
# Runs the libraries' tests under valgrind's memcheck: any use of memory that is not there or not
# set, and any memory that is lost for good, is a failure.
#
#   Scripts/check-valgrind.sh [BUILD]    a plain build with tests; build/release if none is named
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

build=${1-build/release}
programs=(Tests/Platform/bin/PlatformTests bin/QuorvelCoreTests bin/PellixProvidersSDKTests
  bin/BridgeTests bin/LifecycleTests)

for program in "${programs[@]}"; do
  [[ -x $build/$program ]] || die "$build has no $program."
  say "Checking ${program##*/}"
  # Each suite in a process of its own: some of what they look at is made once for each process.
  for suite in $("$build/$program" --gtest_list_tests | grep -E '^[A-Za-z0-9_/]+\.$'); do
    valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite \
      --errors-for-leak-kinds=definite --num-callers=25 --fair-sched=yes \
      "$build/$program" --gtest_brief=1 --gtest_filter="$suite*"
  done
done
