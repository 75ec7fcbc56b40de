#!/usr/bin/env bash
# Installs the library and builds other people's projects with it, in folders with a blank in their
# names.
#
#   consumers.sh SOURCE BUILD WORK NAME PROGRAMS STEP [ARGUMENT...]
#
# The step `install` comes first: it installs what BUILD holds, and moves it. PROGRAMS is the directory
# of the documentation's programs.
set -euo pipefail
source_dir=$1 build=$2 work=$3 name=$4 programs=$5 step=$6
static="$work/moved here"
shared="$work/shared here"
libraries=lib/$(${CC:-cc} -print-multiarch) # of the shared installation
here="$work/$name"                          # what is this test's own

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

build_project() { # DIRECTORY PREFIX [OPTION...]
  rm -rf "$here"
  cmake -S "$1" -B "$here" -G Ninja -DCMAKE_PREFIX_PATH="$2" "${@:3}" >/dev/null
  cmake --build "$here" >/dev/null
}

ask_from_elsewhere() { # PROGRAM
  local empty="$here elsewhere" # nothing but the program
  rm -rf "$empty"
  mkdir "$empty"
  cp "$1" "$empty/ask"
  expect "$name" "password" "$(cd "$empty" && ./ask "I forgot my password")"
}

start_service() {
  exec {listening}< <(exec "$static/bin/answer-service" --quiet --token a-token)
  trap "kill $!" EXIT
  read -r -u "$listening" line
  export PELLIX_ACCOUNT_URL=${line##* } PELLIX_TOKEN=a-token
}

refused() { # REASON COMMAND...: the command fails, and has one error to tell
  local said
  ! said=$("${@:2}" 2>&1) || fail "Not refused: ${*:2}"
  expect "$name" "$1" "$said"
  (($(grep -cE 'error:|CMake Error' <<<"$said") == 1)) || fail "More than one error: $said"
}

case $step in
  install)
    install_moved "$build" "$static"
    "$source_dir/Scripts/check-interface.py" "$source_dir" "$static/include/pellix"
    if grep -q "^CMAKE_BUILD_TYPE:.*=Rel" "$build/CMakeCache.txt"; then
      "$source_dir/Scripts/check-binaries.py" "$static" "$source_dir" "$build"
    fi
    start_service
    expect "The moved host" "password" "$("$static/bin/pellix" ask I forgot my password)"
    ;;
  fetch-content)
    # Without optimisation, for the time that it takes; shared, so that these are shown to work too.
    build_project "$source_dir/Tests/Install/Fetched" "" -DPELLIX_SOURCE="$source_dir" \
      -DPROGRAM="$programs/README.cpp" -DBUILD_SHARED_LIBS=ON -DPELLIX_INSTALL=ON \
      -DCMAKE_INSTALL_LIBDIR="$libraries" -DCMAKE_UNITY_BUILD=ON -DCMAKE_CXX_FLAGS=-fno-rtti
    install_moved "$here" "$shared"
    start_service
    expect "The fetched library" "password" "$("$here/readme" "I forgot my password")"
    ;;
  readme)
    # A folder below may look for the package again.
    mkdir -p "$here source/again"
    "$source_dir/Scripts/extract-code.sh" cmake "$source_dir/README.md" >"$here source/CMakeLists.txt"
    cp "$programs/README.cpp" "$here source/ask.cpp"
    echo "find_package(PellixProvidersSDK REQUIRED)" >"$here source/again/CMakeLists.txt"
    echo "add_subdirectory(again)" >>"$here source/CMakeLists.txt"
    build_project "$here source" "$static"
    start_service
    ask_from_elsewhere "$here/ask"
    ;;
  host-test)
    build_project "$source_dir/Examples/host-test" "$static"
    "$here/host-test" >/dev/null || fail "The host's tests fail."
    ;;
  own-parts)
    resources="$work/resources"
    rm -rf "$resources"
    mkdir "$resources"
    cp "$source_dir"/Source/Resources/*.plist "$resources"
    sed -i 's|>1\.0\.0<|>77.7<|' "$resources/Info.plist"
    for at in "$static" "$shared"; do
      build_project "$source_dir/Tests/Install/Consumer" "$at" -DPROGRAM="$programs/OwnParts.cpp"
      output=$("$here/program")
      expect "The version" "version 1.0.0" "$output"
      expect "A directory's version" "version 77.7" "$(MY_APP_RESOURCES="$resources" "$here/program")"
      expect "The refusal" "error " "$output"
      expect "The log" "info: " "$output"
      expect "The preferred language" '"locale":"pt-BR"' "$output"
    done
    ;;
  pkg-config)
    start_service
    for directory in "$shared/$libraries" "$static/lib"; do
      flags=$(PKG_CONFIG_PATH="$directory/pkgconfig" pkg-config --cflags --libs PellixProvidersSDK)
      # Quoting is pkg-config's: it escapes the blanks of paths.
      eval "${CC:-cc} -o '$here' '$source_dir/Examples/ask.c' $flags '-Wl,-rpath,$directory'"
      ask_from_elsewhere "$here"
    done
    ;;
  ask) # INSTALLATION PROGRAM [OPTION...]
    program=$programs/$8
    [[ $8 != Examples/* ]] || program=$source_dir/$8
    build_project "$source_dir/Tests/Install/Consumer" "${!7}" -DPROGRAM="$program" "${@:9}"
    start_service
    ask_from_elsewhere "$here/program"
    ;;
  refusals)
    compile=("${CXX:-c++}" -fsyntax-only "-I$static/include/pellix" -x c++)
    "${compile[@]}" -std=c++11 -include PellixProvidersSDK/QVLPellix.h /dev/null
    refused "needs C++23" "${compile[@]}" -std=c++20 "$programs/README.cpp"
    for project in "$source_dir" "$source_dir/Tests/Install/Consumer"; do
      rm -rf "$here"
      refused "on Linux, not on FreeBSD" cmake -S "$project" -B "$here" -G Ninja -DCMAKE_SYSTEM_NAME=FreeBSD \
        -DCMAKE_PREFIX_PATH="$static" -DPROGRAM="$programs/README.cpp"
    done
    ;;
  *) fail "Unknown step $step" ;;
esac
