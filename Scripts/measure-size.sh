#!/usr/bin/env bash
# Measures the shared libraries as the packages hold them: sizes stripped, exported symbols, and all
# that a program loads with them.
#
#   Scripts/measure-size.sh          prints the tables
#   Scripts/measure-size.sh --docs   writes them into Docs/Size.md
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

need_packages "${packages[@]}"
build_preset packages
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

report() {
  echo "$(date +%F), $(uname -m), $(c++ --version | head -1), by \`Scripts/measure-size.sh\`."
  echo
  echo "| library | bytes, stripped | exported symbols |"
  echo "|---|---:|---:|"
  libraries | while read -r file; do
    echo "| $(basename "$file") | $(size "$file") | $(symbols "$file") |"
  done
  echo
  local ours languages
  ours=$( (libraries; closure) | grep -c '/lib\(Pellix\|Quorvel\|Veltrane\)[^/]*$')
  ((ours >= 4)) || die "The libraries are not all there."
  languages='/lib\(c\|m\|gcc_s\|stdc++\)\.so'
  echo "| what a program loads with the library | bytes |"
  echo "|---|---:|"
  echo "| the four libraries | $(libraries | total) |"
  echo "| what they need besides ($(closure | grep -v "$work" | grep -vc "$languages") libraries, most of them libcurl's) | $(closure | grep -v "$work" | grep -v "$languages" | total) |"
  echo "| the C and C++ languages' own | $(closure | grep "$languages" | total) |"
}

if [[ ${1-} != --docs ]]; then
  report
  exit
fi
report >"$work/report"
sed -i -e '/<!-- measured -->/,/<!-- end -->/{//!d}' -e "/<!-- measured -->/r $work/report" Docs/Size.md
