#!/usr/bin/env bash
# Measures the shared libraries as the packages hold them: sizes stripped, exported symbols, and all
# that a program loads with them.
#
#   Scripts/measure-size.sh             prints the tables
#   Scripts/measure-size.sh --docs      writes them into Docs/Size.md
#   Scripts/measure-size.sh --figures   prints the sums alone, for ./bench
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

need_packages "${packages[@]}"
build_preset packages --target PellixProvidersSDK
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install build/packages --prefix "$work" --strip --component runtime >/dev/null

libraries() { find "$work" -type f -name 'lib*.so.*' | sort; }
symbols() { nm -D --defined-only "$1" | wc -l; }
size() { stat -L -c %s "$1"; }
closure() { # every library that the product needs, those of the C and C++ languages apart
  ldd "$(libraries | grep PellixProvidersSDK)" | sed -n 's/.* => \(\/[^ ]*\) .*/\1/p' | sort -u
}
total() { xargs -r stat -L -c %s | awk '{ sum += $1 } END { print sum + 0 }'; }

languages='/lib\(c\|m\|gcc_s\|stdc++\)\.so'
others() { closure | grep -v "$work" | grep -v "$languages"; }

report() {
  echo "$(date +%F), $(uname -m), $(c++ --version | head -1), by \`Scripts/measure-size.sh\`."
  echo
  echo "| library | bytes, stripped | exported symbols |"
  echo "|---|---:|---:|"
  libraries | while read -r file; do
    echo "| $(basename "$file") | $(size "$file") | $(symbols "$file") |"
  done
  echo
  local ours
  ours=$( (libraries; closure) | grep -c '/lib\(Pellix\|Quorvel\|Veltrane\)[^/]*$')
  ((ours >= 4)) || die "The libraries are not all there."
  echo "| what a program loads with the library | bytes |"
  echo "|---|---:|"
  echo "| the four libraries | $(libraries | total) |"
  echo "| what they need besides ($(others | wc -l) libraries, most of them libcurl's) | $(others | total) |"
  echo "| the C and C++ languages' own | $(closure | grep "$languages" | total) |"
}

if [[ ${1-} == --figures ]]; then
  echo "size.bytes_stripped $(libraries | total)"
  echo "size.bytes_of_closure $(others | total)"
  exit
fi
if [[ ${1-} != --docs ]]; then
  report
  exit
fi
report >"$work/report"
sed -i -e '/<!-- measured -->/,/<!-- end -->/{//!d}' -e "/<!-- measured -->/r $work/report" Docs/Size.md
