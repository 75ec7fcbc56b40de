#!/usr/bin/env bash
# Debian 12 or 13 with nothing but its essential packages, in build/debian-RELEASE, and the project in
# it as a new user would have it: out of the packages of the mirror that this machine uses. As root.
#
#   Scripts/debian.sh RELEASE make              makes the system
#   Scripts/debian.sh RELEASE run COMMAND...    runs a command in it, in a copy of the sources
#   Scripts/debian.sh RELEASE test [PRESET...]  runs ./demo and ./test in it, then ./test with those presets,
#                                               and notes with which versions all went well
#   Scripts/debian.sh table                     puts the versions noted into Docs/Shipping.md
set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "$0")/.."
source Scripts/common.sh

make_system() {
  [[ ! -e $system/made ]] || return 0
  need_packages debian-archive-keyring mmdebstrap
  say "Making a system of Debian $release"
  rm -rf "$system"
  mkdir -p "$system"
  mmdebstrap --variant=minbase --include=ca-certificates --aptopt='APT::Sandbox::User "root"' \
    --customize-hook='apt-config dump | grep -i "^Acquire::.*proxy" >"$1/etc/apt/apt.conf.d/proxy" || true' \
    "$name" "$system" "$(debian_mirror)" >&2
  touch "$system/made"
}

# In a namespace of its own, so that nothing stays mounted.
run() {
  [[ -e $system/made ]] || die "Make the system first: $0 $release make"
  mkdir -p "$system/project"
  find "$system/project" -mindepth 1 -maxdepth 1 ! -name build -exec rm -rf {} +
  git ls-files -z --cached --others --exclude-standard |
    tar --create --null --files-from=- --ignore-failed-read 2>/dev/null | tar --extract -C "$system/project"
  cp /etc/resolv.conf /etc/hosts "$system/etc/"
  unshare --mount --pid --fork bash -euc '
    mount --make-rprivate /
    mount -t proc proc "$1/proc"
    mount --rbind /sys "$1/sys"
    mount --rbind /dev "$1/dev"
    exec chroot "$1" env -i HOME=/root PATH=/usr/sbin:/usr/bin LANG=C.UTF-8 TERM="${TERM-dumb}" \
      sh -c "cd /project && exec \"\$@\"" sh "${@:2}"' bash "$system" "$@"
}

# Each package that the project names and that is installed, with its version.
versions() {
  run bash -c 'source Scripts/common.sh && dpkg-query -W -f "\${Package} \${Version}\n" \
    "${packages[@]}" libc6 "${all_packages[@]}" 2>/dev/null || true' |
    sed -nE '/ [0-9]/{s/ [0-9]+:/ /; s/-[^- ]*$//; s/[+~](dfsg|ds|repack|really)?[^ ]*$//; p}' | sort -u
}

test_system() {
  make_system
  run ./demo
  run ./test
  local preset
  for preset; do run ./test --preset "$preset"; done
  versions >"$system/versions"
}

table() {
  local noted=(build/debian-*/versions)
  [[ -e ${noted[0]} ]] || die "Run the tests first: $0 RELEASE test"
  python3 - "${noted[@]}" <<'EOT'
import pathlib, re, sys
columns = {re.search(r"debian-(\d+)", name)[1]: dict(line.split(" ", 1) for line in open(name).read().splitlines() if " " in line)
           for name in sys.argv[1:]}
rows = sorted(set().union(*columns.values()))
lines = ["| | " + " | ".join(f"Debian {release}" for release in columns) + " |",
         "| --- |" + " --- |" * len(columns)]
lines += [f"| `{row}` | " + " | ".join(versions.get(row, "") for versions in columns.values()) + " |" for row in rows]
page = pathlib.Path("Docs/Shipping.md")
form = re.compile(r"(<!-- versions: begin -->\n).*?(<!-- versions: end -->)", re.DOTALL)
text, count = form.subn(lambda m: m[1] + "\n" + "\n".join(lines) + "\n\n" + m[2], page.read_text())
if count != 1:
    sys.exit(f"{page} has no place for the table.")
page.write_text(text)
EOT
}

release=${1-}
system=$PWD/build/debian-$release
case "$release" in
  12) name=bookworm ;;
  13) name=trixie ;;
  table) table; exit ;;
  *) sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0"; exit 2 ;;
esac
((EUID == 0)) || die "Run this as root: it changes the root directory."
case "${2-}" in
  make) make_system ;;
  run) run "${@:3}" ;;
  test) test_system "${@:3}" ;;
  *) die "Unknown command ${2-}. Try $0 --help." ;;
esac
