#!/usr/bin/env bash
# Debian 13 in build/debian13, whose compilers and libraries are newer, made out of the packages of the
# mirror that this machine uses. As root.
#
#   Scripts/debian13.sh make              makes the tree, with the packages that the project needs
#   Scripts/debian13.sh run COMMAND...    runs a command there, in a copy of the sources
#   Scripts/debian13.sh test [OPTION...]  builds the preset release there and tests it; options for ctest
set -euo pipefail
cd "$(dirname "$0")/.."
source Scripts/common.sh

tree=$PWD/build/debian13

make_tree() {
  [[ ! -e $tree/made ]] || return 0
  need_packages mmdebstrap debian-archive-keyring
  say "Making a tree of Debian 13"
  rm -rf "$tree"
  mkdir -p "$tree"
  local include
  include=$(IFS=, && echo "${packages[*]},ca-certificates,iproute2,libnode-dev,nginx-light,procps")
  mmdebstrap --variant=minbase --aptopt='APT::Sandbox::User "root"' --include="$include" \
    trixie "$tree" "$(debian_mirror)" >&2
  touch "$tree/made"
}

# In a namespace of its own, so that nothing stays mounted.
run() {
  [[ -e $tree/made ]] || die "Make the tree first: $0 make"
  mkdir -p "$tree/project"
  find "$tree/project" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
  git ls-files -z --cached --others --exclude-standard |
    tar --create --null --files-from=- --ignore-failed-read 2>/dev/null | tar --extract -C "$tree/project"
  unshare --mount --pid --fork bash -euc '
    mount --make-rprivate /
    mount -t proc proc "$1/proc"
    mount --rbind /dev "$1/dev"
    exec chroot "$1" env -i HOME=/root PATH=/usr/sbin:/usr/bin LANG=C.UTF-8 TERM="$TERM" \
      sh -c "cd /project && exec \"\$@\"" sh "${@:2}"' bash "$tree" "$@"
}

((EUID == 0)) || die "Run this as root: it changes the root directory."
case "${1-}" in
  make) make_tree ;;
  run) run "${@:2}" ;;
  test)
    run cmake --preset release
    run nice cmake --build --preset release -j "$jobs"
    run ctest --preset release -j "$jobs" "${@:2}"
    ;;
  *) sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0"; exit 2 ;;
esac
