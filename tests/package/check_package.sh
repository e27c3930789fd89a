#!/usr/bin/env bash
# Installs a build into an empty folder, moves that folder, and uses the library from there through
# find_package and through pkg-config; nothing tells the loader where to look.
# usage: check_package.sh BUILD-FOLDER SOURCE-FOLDER C-COMPILER C++-COMPILER
set -euo pipefail
build=$1 source=$2 cc=$3 cxx=$4
here=$source/tests/package
unset LD_LIBRARY_PATH PKG_CONFIG_PATH CMAKE_PREFIX_PATH
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/staged" >"$work/log" || { cat "$work/log"; exit 1; }
mv "$work/staged" "$work/prefix"
if grep -rl "$work/staged\|$source\|$build" "$work/prefix/lib"*/*/*/*.cmake "$work/prefix/lib"*/*/pkgconfig "$work/prefix/lib"*/pkgconfig 2>/dev/null; then
  echo "these installed files name the folder they were built in or installed to"
  exit 1
fi

echo "-- find_package"
cmake -G Ninja -S "$here" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_C_COMPILER="$cc" >"$work/log" &&
  cmake --build "$work/consumer" >>"$work/log" || { cat "$work/log"; exit 1; }
"$work/consumer/consumer"

echo "-- pkg-config"
pc=$(find "$work/prefix" -name vantro.pc)
libdir=$(dirname "$(dirname "$pc")")
export PKG_CONFIG_PATH=${pc%/*}
# shellcheck disable=SC2046  # words
"$cc" -std=c11 -Wall -Wextra -pedantic -Werror $(pkg-config --cflags vantro) "$here/consumer.c" \
  $(pkg-config --libs vantro) -Wl,-rpath,"$libdir" -o "$work/consumer-pc"
"$work/consumer-pc"

echo "-- each header by itself"
for header in "$work/prefix/include/vantro"/*.h; do
  echo "#include <vantro/$(basename "$header")>" >"$work/header.cpp"
  # shellcheck disable=SC2046
  "$cxx" -std=c++17 -Wall -Wextra -Wconversion -Wshadow -pedantic -Werror -fsyntax-only \
    $(pkg-config --cflags vantro) "$work/header.cpp"
done
