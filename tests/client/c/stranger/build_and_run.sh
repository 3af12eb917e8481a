#!/usr/bin/env bash
# usage: build_and_run.sh BUILD-FOLDER
#
# Installs the client library from a build, and builds and runs small programs that find it by its
# CMake package and by pkg-config. Nothing of this project but what was installed is used.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for component in client client-developer; do
  cmake --install "$build" --component "$component" --prefix "$work/installed" >/dev/null
done

# The programs are copied away first, so that no path leads back here.
cp -r "$here" "$work/source"
cmake -G Ninja -S "$work/source" -B "$work/build" -DCMAKE_SYSTEM_NAME=Windows \
  -DCMAKE_C_COMPILER=x86_64-w64-mingw32-gcc -DCMAKE_CXX_COMPILER=x86_64-w64-mingw32-g++ \
  -DCMAKE_EXE_LINKER_FLAGS=-static -DCMAKE_PREFIX_PATH="$work/installed" >/dev/null
cmake --build "$work/build" >/dev/null
flags=$(PKG_CONFIG_LIBDIR="$work/installed/lib/pkgconfig" pkg-config --cflags --libs orva-client)
# Two words or more: the flags.
# shellcheck disable=SC2086
x86_64-w64-mingw32-gcc -std=c99 -o "$work/build/stranger_pkg.exe" "$work/source/program.c" $flags
cp "$work/installed/bin/OrvaClient.dll" "$work/build/"

expect() {
  local said
  said=$("$here/../../../../scripts/wine.sh" "$work/build/$1" | tr -d '\r')
  if [ "$said" != "$2" ]; then
    echo "$1 said \"$said\" instead of \"$2\"" >&2
    exit 1
  fi
}
expect stranger_c.exe 'the service is not installed'
expect stranger_pkg.exe 'the service is not installed'
expect stranger_cxx.exe 'Could not call orva_push_register: 0 is no client id'
