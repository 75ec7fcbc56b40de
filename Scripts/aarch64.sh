#!/usr/bin/env bash
# Builds for aarch64, the processor of phones, and runs the tests under qemu. As root, since it unpacks
# packages and tells the kernel to start programs for aarch64 under qemu.
#
#   Scripts/aarch64.sh make             unpacks the libraries for aarch64 into build/aarch64-sysroot
#   Scripts/aarch64.sh test [OPTION...] builds the presets aarch64 (gcc) and aarch64-clang (with libc++)
#                                       and tests them; options for ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

sysroot=$PWD/build/aarch64-sysroot

make_sysroot() {
  [[ ! -e $sysroot/made ]] || return 0
  need_packages clang-19 debian-archive-keyring g++-aarch64-linux-gnu googletest mmdebstrap
  say "Unpacking the libraries for aarch64"
  rm -rf "$sysroot"
  mkdir -p "$sysroot"
  local include=(libc6-dev libstdc++-12-dev "${library_packages[@]:4}" "${app_packages[@]}"
    libc++-19-dev libc++abi-19-dev libgmock-dev libgtest-dev libplist-dev)
  mmdebstrap --variant=extract --architectures=arm64 --aptopt='APT::Sandbox::User "root"' \
    --include="$(IFS=, && echo "${include[*]}")" "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$sysroot" "$(debian_mirror)" >&2
  # Files that stand here are taken by qemu instead of the machine's own.
  rm -rf "$sysroot"/{dev,etc,tmp,var}
  touch "$sysroot/made"
}

# Whatever the tests start, in whatever environment, finds qemu, and the libraries where Debian's qemu
# looks for them.
use_qemu() {
  need_packages binfmt-support qemu-user-binfmt
  [[ -e /proc/sys/fs/binfmt_misc/qemu-aarch64 ]] || as_root update-binfmts --enable qemu-aarch64
  as_root mkdir -p /etc/qemu-binfmt
  as_root ln -sfn "$sysroot" /etc/qemu-binfmt/aarch64
}

# What an emulator can't show: qemu adds a line of its own to what a process that aborts has written,
# and valgrind does not read the processor's programs.
excluded='FatalErrorDeathTest|Initialisers.StopTheProcess|Misuse.IsReported|IsReportedWhereAReferenceIsLost'
excluded+='|CWithoutLeaksOrFaults'

case "${1-}" in
  make) make_sysroot ;;
  test)
    make_sysroot
    use_qemu
    for preset in aarch64 aarch64-clang; do
      build_preset "$preset"
      ctest --preset "$preset" -j "$jobs" -E "$excluded" "${@:2}"
    done
    ;;
  *) sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0"; exit 2 ;;
esac
