#!/usr/bin/env bash
# Makes the reference from the headers' comments, in build/reference/html; any warning is an error.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh
need_packages doxygen
say "Making the reference"
mkdir -p build
doxygen Docs/Doxyfile
say "The reference is in build/reference/html."
