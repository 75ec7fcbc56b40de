#!/usr/bin/env bash
# Runs the libraries' tests under valgrind's memcheck: any use of memory that is not there or not
# set, and any memory that is lost for good, is a failure.
#
#   Scripts/check-valgrind.sh [BUILD]    a plain build with tests; build/release if none is named
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

build=${1-build/release}
programs=(PlatformTests QuorvelCoreTests PellixProvidersSDKTests BridgeTests
  LifecycleTests)

for program in "${programs[@]}"; do
  [[ -x $build/bin/$program ]] || die "$build has no $program."
  say "Checking $program"
  valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite \
    --errors-for-leak-kinds=definite --num-callers=25 --fair-sched=yes \
    "$build/bin/$program" --gtest_brief=1
done
