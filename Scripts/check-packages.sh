#!/usr/bin/env bash
# Builds the Debian packages, installs them on this machine, tries them and purges them.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

need_packages "${packages[@]}" dpkg-dev file
as_root=()
((EUID == 0)) || as_root=(sudo)
names=(libpellixproviderssdk1 libpellixproviderssdk-dev pellix-tools)
for name in "${names[@]}"; do
  ! dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null | grep -qx installed ||
    die "$name is installed here already."
done

build_preset packages
say "Making the packages"
work=$(mktemp -d)
service=
clean_up() {
  [[ -z $service ]] || kill "$service" 2>/dev/null || true
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get purge -q -y "${names[@]}" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap clean_up EXIT
rm -f build/packages/*.deb
(cd build/packages && cpack >"$work/log" 2>&1) || die "$(cat "$work/log")"
debs=(build/packages/*.deb)
((${#debs[@]} == ${#names[@]})) || die "Expected ${#names[@]} packages, not ${debs[*]}"
Scripts/check-binaries.py build/packages
for deb in "${debs[@]}"; do dpkg -x "$deb" "$work/unpacked"; done
Scripts/check-binaries.py "$work/unpacked" "$PWD"

say "Installing ${names[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -q -y --no-install-recommends "${debs[@]/#/./}" >"$work/log" 2>&1 || die "$(cat "$work/log")"

exec {listening}< <(exec answer-service --quiet --token a-token)
service=$!
read -r -u "$listening" line
export PELLIX_ACCOUNT_URL=${line##* } PELLIX_TOKEN=a-token
question="I forgot my password"
ask() { # WHAT PROGRAM...
  local what=$1
  shift
  grep -q password <<<"$("$@" "$question")" || die "$what does not find the article."
}
ask "The installed host" pellix ask
read -ra flags < <(pkg-config --cflags --libs PellixProvidersSDK)
cc -o "$work/ask" Examples/ask.c "${flags[@]}"
ask "A host in C" "$work/ask"
mkdir "$work/readme"
Scripts/extract-code.sh cmake README.md >"$work/readme/CMakeLists.txt"
Scripts/extract-code.sh cpp README.md >"$work/readme/ask.cpp"
cmake -S "$work/readme" -B "$work/readme/build" >/dev/null
cmake --build "$work/readme/build" >/dev/null
ask "The README's program" "$work/readme/build/ask"

say "Purging"
mapfile -t files < <(dpkg -L "${names[@]}" | grep -i pellix)
((${#files[@]} > 40)) || die "The packages hold too little: ${files[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get purge -q -y "${names[@]}" >"$work/log" 2>&1
for file in "${files[@]}"; do
  [[ ! -e $file ]] || die "$file is still there."
done
say "The packages install, work and go."
