#!/usr/bin/env bash
# Builds the Debian packages, twice, and compares them; looks at them with lintian, writes their bill of
# materials, and packs the sources; then installs them on this machine, tries them, builds a package on
# them, and purges them.
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh
export CCACHE_DISABLE=1 # its objects may come from other folders

need_packages "${packages[@]}" "${packaging_packages[@]}"
as_root=()
((EUID == 0)) || as_root=(sudo)
names=(libpellixproviderssdk1 libpellixproviderssdk-dev pellix-tools)
for name in "${names[@]}"; do
  ! dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null | grep -qx installed ||
    die "$name is installed here already."
done

work=$(mktemp -d)
service=
clean_up() {
  [[ -z $service ]] || kill "$service" 2>/dev/null || true
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get purge -q -y "${names[@]}" >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap clean_up EXIT
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

make_packages() {
  rm -f build/packages/CMakeCache.txt # keeps the flags of when it was first made
  build_preset packages
  say "Making the packages in $PWD"
  rm -f build/packages/*.deb
  (cd build/packages && cpack >"$work/log" 2>&1) || die "$(cat "$work/log")"
}
make_packages
debs=(build/packages/*.deb)
((${#debs[@]} == ${#names[@]})) || die "Expected ${#names[@]} packages, not ${debs[*]}"
Scripts/check-binaries.py build/packages
for deb in "${debs[@]}"; do dpkg -x "$deb" "$work/unpacked"; done
Scripts/check-binaries.py "$work/unpacked" "$PWD"
# A licence is the owner's to choose.
lintian --allow-root --fail-on error --suppress-tags no-copyright-file "${debs[@]}"
Scripts/write-bill-of-materials.py build/packages "${debs[@]}" >build/packages/bill-of-materials.spdx.json
Scripts/check-bill-of-materials.py build/packages/bill-of-materials.spdx.json "${debs[@]}"

say "Packing the sources, and making the packages of them once more"
git ls-files -z --cached --others --exclude-standard | tar --create --null --files-from=- |
  tar --extract --one-top-level="$work/elsewhere"
again=$work/elsewhere
(cd "$again" && make_packages)
for deb in "${debs[@]}"; do
  cmp "$deb" "$again/$deb" || { diffoscope "$deb" "$again/$deb" || true; die "$deb differs."; }
done
(cd "$again/build/packages" && cpack --config CPackSourceConfig.cmake >"$work/log" 2>&1) || die "$(cat "$work/log")"
diff <(tar --list --file "$again"/build/packages/*.tar.gz | sed -n 's|^[^/]*/\(.*[^/]\)$|\1|p' | sort) \
  <(git ls-files --cached --others --exclude-standard | sort) || die "The sources are not what git tracks."

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
cat >>"$work/readme/CMakeLists.txt" <<EOT
install(TARGETS ask)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Somebody <somebody@example.invalid>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
EOT
cmake -S "$work/readme" -B "$work/readme/build" >/dev/null
cmake --build "$work/readme/build" >/dev/null
ask "The README's program" "$work/readme/build/ask"
(cd "$work/readme/build" && cpack >/dev/null)
dpkg-deb --field "$work"/readme/build/*.deb Depends | grep -q "${names[0]} (>= " ||
  die "A package built on ours does not depend on it."

say "Purging"
mapfile -t files < <(dpkg -L "${names[@]}" | grep -i pellix)
((${#files[@]} > 40)) || die "The packages hold too little: ${files[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get purge -q -y "${names[@]}" >"$work/log" 2>&1
for file in "${files[@]}"; do
  [[ ! -e $file ]] || die "$file is still there."
done
say "The packages install, work and go."
