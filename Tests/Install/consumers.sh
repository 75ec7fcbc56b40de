#!/usr/bin/env bash
# Installs the library and builds other people's projects with it, in folders with a blank in their
# names.
#
#   consumers.sh SOURCE BUILD WORK STEP PROGRAMS
#
# The step `install` comes first: it installs what BUILD holds, and moves it. PROGRAMS is the directory
# of the documentation's programs.
set -euo pipefail
source_dir=$1 build=$2 work=$3 step=$4 programs=$5
prefix="$work/moved here"
shared="$work/shared here"
libraries=lib/$(${CC:-cc} -print-multiarch) # of the shared installation
version=77.7 # what the moved resources say, so that they can be told from all others

fail() { printf '%s\n' "$*" >&2; exit 1; }
expect() { # WHAT PATTERN TEXT
  [[ $3 == *$2* ]] || fail "$1: expected \"$2\" in:"$'\n'"$3"
}

install_moved() { # BUILD PREFIX
  rm -rf "$work/first place" "$2"
  cmake --install "$1" --prefix "$work/first place" >/dev/null
  sed -i "s|<string>1\.0\.0</string>|<string>$version</string>|" \
    "$work/first place/share/PellixProvidersSDK/Info.plist"
  mkdir -p "$(dirname "$2")"
  mv "$work/first place" "$2"
}

cmake_consumer() { # DIRECTORY PREFIX [OPTION...]
  local name at=$2
  name=$(basename "$1")
  rm -rf "$work/$name build"
  cmake -S "$source_dir/$1" -B "$work/$name build" -G Ninja \
    -DCMAKE_PREFIX_PATH="$at" "${@:3}" >/dev/null
  cmake --build "$work/$name build" >/dev/null
}

start_service() {
  exec {listening}< <(exec "$prefix/bin/answer-service" --quiet --token a-token)
  trap "kill $!" EXIT
  read -r -u "$listening" line
  export PELLIX_ACCOUNT_URL=${line##* } PELLIX_TOKEN=a-token
}

case $step in
  install)
    install_moved "$build" "$prefix"
    "$source_dir/Scripts/check-interface.py" "$source_dir" "$prefix/include/pellix"
    start_service
    expect "The moved host" "password" "$("$prefix/bin/pellix" ask I forgot my password)"
    ;;
  cmake)
    rm -rf "$work/readme"
    mkdir "$work/readme"
    "$source_dir/Scripts/extract-code.sh" cmake "$source_dir/README.md" >"$work/readme/CMakeLists.txt"
    "$source_dir/Scripts/extract-code.sh" cpp "$source_dir/README.md" >"$work/readme/ask.cpp"
    # A folder below may look for the package again.
    mkdir "$work/readme/again"
    echo "find_package(PellixProvidersSDK REQUIRED)" >"$work/readme/again/CMakeLists.txt"
    echo "add_subdirectory(again)" >>"$work/readme/CMakeLists.txt"
    cmake -S "$work/readme" -B "$work/readme/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
    cmake --build "$work/readme/build" >/dev/null
    start_service
    expect "The README's program" "password" "$("$work/readme/build/ask" "I forgot my password")"
    ;;
  own-parts)
    for at in "$prefix" "$shared"; do
      cmake_consumer Tests/Install/OwnParts "$at" -DPROGRAM="$programs/OwnParts.cpp"
      output=$("$work/OwnParts build/own-parts")
      expect "The version" "version $version" "$output"
      expect "The refusal" "error " "$output"
      expect "The log" "info: " "$output"
      expect "The preferred language" '"locale":"pt-BR"' "$output"
    done
    ;;
  fetch-content)
    # Without optimisation, for the time that it takes; shared, so that these are shown to work too.
    cmake_consumer Tests/Install/Fetched "" -DPELLIX_SOURCE="$source_dir" -DPROGRAM="$programs/README.cpp" \
      -DBUILD_SHARED_LIBS=ON -DPELLIX_INSTALL=ON -DCMAKE_INSTALL_LIBDIR="$libraries"
    install_moved "$work/Fetched build" "$shared"
    start_service
    expect "The fetched library" "password" "$("$work/Fetched build/readme" "I forgot my password")"
    ;;
  host-test)
    cmake_consumer Examples/host-test "$prefix"
    "$work/host-test build/host-test" >/dev/null || fail "The host's tests fail."
    ;;
  pkg-config)
    start_service
    for at in "$shared/$libraries" "$prefix/lib"; do
      export PKG_CONFIG_PATH="$at/pkgconfig"
      flags=$(pkg-config --cflags --libs PellixProvidersSDK)
      # Quoting is pkg-config's: it escapes the blanks of paths.
      eval "${CC:-cc} -o '$work/ask' '$source_dir/Examples/ask.c' $flags '-Wl,-rpath,$at'"
      expect "The host in C" "password" "$("$work/ask" "I forgot my password")"
    done
    ;;
  *) fail "Unknown step $step" ;;
esac
