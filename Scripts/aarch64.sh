#!/usr/bin/env bash
# Builds for aarch64, the processor of phones, and runs the tests under qemu. As root, since it unpacks
# packages.
#
#   Scripts/aarch64.sh make             unpacks the libraries for aarch64 into build/aarch64-sysroot
#   Scripts/aarch64.sh test [OPTION...] builds the preset aarch64 and tests it; options for ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

sysroot=$PWD/build/aarch64-sysroot

make_sysroot() {
  [[ ! -e $sysroot/made ]] || return 0
  need_packages debian-archive-keyring g++-aarch64-linux-gnu mmdebstrap qemu-user
  say "Unpacking the libraries for aarch64"
  rm -rf "$sysroot"
  mkdir -p "$sysroot"
  local include=(libc6-dev libstdc++-12-dev "${library_packages[@]:4}" "${app_packages[@]}"
    libgmock-dev libgtest-dev libplist-dev)
  mmdebstrap --variant=extract --architectures=arm64 --aptopt='APT::Sandbox::User "root"' \
    --include="$(IFS=, && echo "${include[*]}")" "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$sysroot" "$(debian_mirror)" >&2
  touch "$sysroot/made"
}

case "${1-}" in
  make) make_sysroot ;;
  test)
    make_sysroot
    build_preset aarch64
    ctest --preset aarch64 -j "$jobs" "${@:2}"
    ;;
  *) sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0"; exit 2 ;;
esac
