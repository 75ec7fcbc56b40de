#!/usr/bin/env bash
# Measures the shared libraries as the packages hold them: sizes stripped, exported symbols, what they
# hold by part, all that a program loads with them, and what loading takes.
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

# The four libraries' sizes by what they consist of.
parts() {
  local file name pairs=()
  while read -r file; do
    name=$(basename "$file")
    name=${name#lib}
    name=${name%%.so*}
    pairs+=("$file=$(find build/packages -name "$name.map")")
  done < <(libraries)
  Scripts/size-by-part.py "${pairs[@]}"
}

# A program that loads a library and does nothing else.
loading_program() { # NAME LIBRARY...
  local name=$1
  shift
  echo 'int main(void) { return 0; }' |
    cc -x c - -o "$work/$name" -L"$(dirname "$(libraries | head -1)")" -Wl,--no-as-needed "$@"
}

# What the dynamic loader counts and what a program runs from its start to its end.
loading_figures() { # PROGRAM
  local relocations relative instructions
  LD_DEBUG=statistics "$1" 2>"$work/statistics"
  relocations=$(sed -n 's/.* number of relocations: *//p' "$work/statistics" | head -1)
  relative=$(sed -n 's/.* number of relative relocations: *//p' "$work/statistics" | head -1)
  instructions=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null "$1" 2>&1 | sed -n 's/.*Collected : //p')
  echo "$relocations | $relative | $instructions"
}

# How long programs take from their start to their end, in milliseconds, one line each: of many runs in
# turns the shortest, since whatever else a machine does only makes them longer.
shortest_runs() {
  python3 - "$@" <<'EOT'
import subprocess, sys, time
def run(program):
    begin = time.perf_counter()
    subprocess.run([program], check=True)
    return (time.perf_counter() - begin) * 1000
rounds = [[run(program) for program in sys.argv[1:]] for _ in range(300)]
for times in zip(*rounds):
    print(f"{min(times):.2f}")
EOT
}

loading() {
  export LD_LIBRARY_PATH
  LD_LIBRARY_PATH=$(dirname "$(libraries | head -1)")
  loading_program nothing
  loading_program curl -lcurl
  loading_program languages -lcurl -lstdc++
  loading_program ours -l:libPellixProvidersSDK.so.1
  local times nothing curl languages ours
  times=$(shortest_runs "$work/nothing" "$work/curl" "$work/languages" "$work/ours")
  read -r nothing curl languages ours <<<"${times//$'\n'/ }"
  echo "| a program that loads | relocations | relative ones | instructions | ms |"
  echo "|---|---:|---:|---:|---:|"
  echo "| the C library alone | $(loading_figures "$work/nothing") | $nothing |"
  echo "| libcurl | $(loading_figures "$work/curl") | $curl |"
  echo "| libcurl and C++'s own library | $(loading_figures "$work/languages") | $languages |"
  echo "| the library | $(loading_figures "$work/ours") | $ours |"
  echo
  echo "Beyond libcurl's own, loading takes $(difference "$ours" "$curl") ms; in a program of C++,"
  echo "$(difference "$ours" "$languages") ms. Times are the shortest of 300 runs, from a program's start to its end;"
  echo "relocations are those that need a symbol, and are done when it starts."
}

difference() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a - b }'; }

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
  echo "| of the four libraries | bytes |"
  echo "|---|---:|"
  parts
  echo
  echo "| what a program loads with the library | bytes |"
  echo "|---|---:|"
  echo "| the four libraries | $(libraries | total) |"
  echo "| what they need besides ($(others | wc -l) libraries, most of them libcurl's) | $(others | total) |"
  echo "| the C and C++ languages' own | $(closure | grep "$languages" | total) |"
  echo
  loading
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
