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
empty="$work/elsewhere" # a folder of nothing else, for programs that are copied there alone

fail() { printf '%s\n' "$*" >&2; exit 1; }
expect() { # WHAT PATTERN TEXT
  [[ $3 == *$2* ]] || fail "$1: expected \"$2\" in:"$'\n'"$3"
}

install_moved() { # BUILD PREFIX
  rm -rf "$work/first place" "$2"
  cmake --install "$1" --prefix "$work/first place" >/dev/null
  [[ -z $(find "$work/first place" -name '*.plist') ]] || fail "A resource file is installed."
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

ask_from_elsewhere() { # WHAT PROGRAM
  local answer
  rm -rf "${empty:?} $step"
  mkdir "$empty $step"
  cp "$2" "$empty $step/ask"
  answer=$(cd "$empty $step" && ./ask "I forgot my password")
  expect "$1" "password" "$answer"
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
    if grep -q "^CMAKE_BUILD_TYPE:.*=Rel" "$build/CMakeCache.txt"; then
      "$source_dir/Scripts/check-binaries.py" "$prefix" "$source_dir" "$build"
    fi
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
    ask_from_elsewhere "The README's program" "$work/readme/build/ask"
    ;;
  own-parts)
    rm -rf "$work/resources"
    mkdir "$work/resources"
    cp "$source_dir"/Source/Resources/*.plist "$work/resources"
    sed -i 's|>1\.0\.0<|>77.7<|' "$work/resources/Info.plist"
    for at in "$prefix" "$shared"; do
      cmake_consumer Tests/Install/OwnParts "$at" -DPROGRAM="$programs/OwnParts.cpp"
      output=$("$work/OwnParts build/own-parts")
      expect "The version" "version 1.0.0" "$output"
      expect "A directory's version" "version 77.7" \
        "$(MY_APP_RESOURCES="$work/resources" "$work/OwnParts build/own-parts")"
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
  c)
    start_service
    for at in "$shared:$libraries" "$prefix:lib"; do
      cmake_consumer Tests/Install/C "${at%:*}" -DPROGRAM="$source_dir/Examples/ask.c"
      ask_from_elsewhere "The project in C" "$work/C build/ask"
      directory="${at%:*}/${at#*:}"
      export PKG_CONFIG_PATH="$directory/pkgconfig"
      flags=$(pkg-config --cflags --libs PellixProvidersSDK)
      # Quoting is pkg-config's: it escapes the blanks of paths.
      eval "${CC:-cc} -o '$work/ask' '$source_dir/Examples/ask.c' $flags '-Wl,-rpath,$directory'"
      ask_from_elsewhere "The host in C" "$work/ask"
    done
    ;;
  *) fail "Unknown step $step" ;;
esac
