# What ./demo, ./test and ./bench share. Sourced by bash, from the project's root.

say() { printf '\033[1m==> %s\033[0m\n' "$*" >&2; }
die() { printf '%s\n' "$*" >&2; exit 1; }

jobs=$(nproc)

# The tests belong to every build, so that what is built once serves both ./demo and ./test.
library_packages=(g++ cmake ninja-build pkg-config libcurl4-openssl-dev libexpat1-dev
  libsimdjson-dev libssl-dev liburiparser-dev libutf8proc-dev uuid-dev)
app_packages=(libcli11-dev libcpp-httplib-dev libfmt-dev libsqlite3-dev
  nlohmann-json3-dev)
test_packages=(apache2-bin bindgen bzip2 default-jdk-headless iproute2 junit4 libclang1 libglib2.0-dev
  libgmock-dev libgtest-dev libplist-dev locales nodejs openssl python3 python3-cffi python3-h2
  python3-pip python3-setuptools python3-wheel ruby swig unicode-data valgrind)
# Debian has Node's headers in a package of their own; others have them in Node's.
[[ -e /usr/include/node/node_api.h ]] || test_packages+=(libnode-dev)
bench_packages=(libcpp-httplib-dev libjson-glib-dev libsoup-3.0-dev nlohmann-json3-dev openssl python3
  qt6-base-dev rapidjson-dev valgrind)
# Debian 12's usual Boost is too old to have JSON, but there is a second one.
if grep -qs '^VERSION_ID="12"' /etc/os-release; then
  bench_packages+=(libboost1.81-dev)
else
  bench_packages+=(libboost-dev)
fi
packages=("${library_packages[@]}" "${app_packages[@]}" "${test_packages[@]}")
all_packages=(clang-19 clang-format-19 clang-tidy-19 git googletest libc++-19-dev libc++abi-19-dev
  libclang-rt-19-dev libgtk-4-dev mypy qt6-base-dev xauth xvfb)
site_packages=(chromium doxygen graphviz python3)
packaging_packages=(diffoscope-minimal dpkg-dev file lintian)
fuzz_packages=(clang-19 libc++-19-dev libc++abi-19-dev libclang-rt-19-dev libfmt-dev libplist-dev llvm-19
  nlohmann-json3-dev python3)
mutants_packages=(ccache git libclang-common-19-dev lld patch python3-clang-19)

as_root() {
  if ((EUID == 0)); then "$@"; else sudo "$@"; fi
}

# Installs those of the named Debian packages that are missing.
need_packages() {
  local missing
  command -v dpkg-query >/dev/null || die "This script installs Debian packages; the README names what is needed elsewhere."
  mapfile -t missing < <(comm -23 <(printf '%s\n' "$@" | sort -u) \
    <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' | sort -u))
  ((${#missing[@]} == 0)) && return
  say "Installing ${missing[*]}"
  as_root apt-get update -q >&2
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}" >&2
}

# Prints where this machine has its Debian packages from.
debian_mirror() {
  apt-get indextargets --format '$(LABEL) $(REPO_URI)' | awk '$1 == "Debian" { print $2; exit }'
}

# Prints where nginx is. Its package is unpacked and not installed: installed, it would start to serve.
need_nginx() {
  local unpacked=$PWD/build/servers
  if ! command -v nginx >/dev/null && ! [[ -x $unpacked/usr/sbin/nginx ]]; then
    say "Unpacking nginx"
    mkdir -p "$unpacked"
    (
      cd "$unpacked"
      fetch=(apt-get download -q -o APT::Sandbox::User=root nginx)
      "${fetch[@]}" >&2 || { as_root apt-get update -q >&2 && "${fetch[@]}" >&2; }
      dpkg -x nginx_*.deb .
    ) || die "nginx can't be had."
  fi
  command -v nginx || echo "$unpacked/usr/sbin/nginx"
}

# Configures and builds a preset; further arguments go to the build.
build_preset() {
  local preset=$1 log
  shift
  say "Building $preset"
  log=$(cmake --preset "$preset" 2>&1) || die "$log"
  cmake --build --preset "$preset" -j "$jobs" "$@" >&2 || die "Building $preset failed."
}
