#!/usr/bin/env bash
# Follows the README from an empty folder, as a new user would, and says how long that took.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh
say "Following the README"
root=$PWD
home=$(mktemp -d)
trap 'kill "${service:-}" 2>/dev/null || true; rm -rf "$home"' EXIT
started=$SECONDS
export HOME=$home

git clone -q "$root" "$home/PellixProvidersSDK"
cd "$home/PellixProvidersSDK"
./demo >"$home/log" 2>&1 || die "$(tail -50 "$home/log")"
mapfile -t commands < <("$root/Scripts/extract-code.sh" sh README.md)
eval "${commands[0]}" >/dev/null

mkdir "$home/ask"
Scripts/extract-code.sh cpp README.md >"$home/ask/ask.cpp"
Scripts/extract-code.sh cmake README.md >"$home/ask/CMakeLists.txt"
exec {lines}< <(exec ./demo --serve 2>/dev/null)
service=$!
cd "$home/ask"
for command in "${commands[@]:1}"; do eval "$command" >/dev/null; done

while read -r -u "$lines" line; do
  [[ $line != export* ]] || eval "$line"
  [[ $line != *"pellix doctor" ]] || break
done
grep -q password <<<"$(build/ask "I forgot my password")" || die "The README's program finds nothing."
pellix doctor >/dev/null || die "pellix doctor is not content."
say "The README works: $((SECONDS - started)) s in all."
