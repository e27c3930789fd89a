#!/bin/sh
# Holds the dynamic symbols that a library defines against a list, one demangled name a line.
# Names that the address sanitizer adds for its own use are passed over.
# usage: check_exports.sh LIBRARY LIST
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LC_ALL=C

nm -DC --defined-only "$1" |
  sed -E 's/^[0-9a-f]* *[A-Za-z] //; s/@@?[A-Za-z0-9_.]+$//' |
  sed '/^__odr_asan\./d' |
  sed 's/std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' |
  sort > "$work/built"
sort "$2" > "$work/listed"

if ! diff -u "$work/listed" "$work/built" > "$work/diff"; then
  echo "the exports of $1 differ from $2 (-: missing, +: not listed):"
  sed -n '3,$p' "$work/diff" | grep '^[-+]'
  exit 1
fi
echo "$(wc -l < "$work/listed") exported symbols, as listed"
