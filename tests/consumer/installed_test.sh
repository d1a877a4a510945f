#!/usr/bin/env bash
# Installs the library into a fresh prefix, and builds and runs programs against what is there, found
# by CMake and by pkg-config. Inside a device:
#
#   installed_test.sh BUILD-FOLDER LIBRARY-PATH CC CXX COMPILER-FLAGS LINKER-FLAGS [CMAKE-ARG...]
#
# In the folders of LIBRARY-PATH are the libraries that no installed tree has: the platform's.
set -euo pipefail

build=$1 cc=$3 cxx=$4 flags=$5 link_flags=$6
IFS=: read -ra library_folders <<<"$2"
shift 6
source=$(dirname "$(realpath "$0")")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

library_path=
for folder in "${library_folders[@]}"; do
  link=$(mktemp -u -p "$work")
  ln -s "$folder" "$link"  # Flags take no blanks.
  library_path+=${library_path:+:}$link
done
link_flags+=" -Wl,-rpath-link,$library_path"

fail() {
  echo "FAILED: $1"
  exit 1
}

quietly() { # quietly COMMAND...: shows what it says only if it fails
  "$@" >"$work/log" 2>&1 || { cat "$work/log"; fail "$*"; }
}

run() { # run PROGRAM
  LD_LIBRARY_PATH=$libdir:$library_path quietly "$build/run" "$1"
}

quietly cmake --install "$build" --prefix "$prefix"
libdir=$(dirname "$(find "$prefix" -name libwardline.so)")
headers=$(cd "$source/../../include" && ls wardline/*.h)
diff <(cd "$prefix" && find . -type f -printf '%P\n' | sed "s|^${libdir#"$prefix/"}/|lib/|" |
  sort) <(sort <<END
${headers//wardline\//include/wardline/}
bin/wardlinectl
include/proto/wardline_records.pb.h
lib/cmake/wardline/wardline-config.cmake
lib/cmake/wardline/wardline-config-version.cmake
lib/libwardline.so
lib/pkgconfig/wardline.pc
share/bash-completion/completions/wardlinectl
share/man/man1/wardlinectl.1
END
) || fail 'installed is something else (<) than should be (>)'
dynamic=$(readelf -d "$libdir/libwardline.so")
! grep -E 'R(UN)?PATH' <<<"$dynamic" || fail 'the library knows where it was built'
! grep -rlF -e "$build" -e "$source" "$prefix" --include='*.cmake' --include='*.pc' ||
  fail 'the package knows where it was built'

quietly cmake -S "$source" -B "$work/cmake" -Dwardline_DIR="$libdir/cmake/wardline" \
  -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_FLAGS="$flags" \
  -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$link_flags" "$@"
quietly cmake --build "$work/cmake"
run "$work/cmake/consumer_c"
run "$work/cmake/consumer_cpp"

# shellcheck disable=SC2046,SC2086  # Words, on purpose.
{
  export PKG_CONFIG_PATH=$libdir/pkgconfig
  quietly "$cc" $flags -std=c99 -pedantic "$source/consumer.c" -o "$work/pc_c" \
    $(pkg-config --cflags --libs wardline) $link_flags
  [ "$(pkg-config --print-requires-private wardline)" = protobuf-lite ] ||
    fail 'the package does not ask for the headers of protobuf-lite'
  quietly "$cxx" $flags -std=c++20 "$source/consumer.cpp" -o "$work/pc_cpp" \
    $(pkg-config --cflags --libs wardline protobuf-lite) $link_flags
}
run "$work/pc_c"
run "$work/pc_cpp"

echo 'the installed library serves C and C++'
