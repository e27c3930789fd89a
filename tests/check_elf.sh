#!/bin/sh
# Reads the ELF headers of a shared library: hardened, needing nothing but the C and C++ run-time
# libraries, and calling its own functions even in a host that has others of the same names.
# usage: check_elf.sh LIBRARY [ALLOWED-LIBRARY...]   (further sonames it may need, as patterns)
set -eu
export LC_ALL=C
library=$1
shift
failed=0
fail() {
  echo "$library: $*"
  failed=1
}

headers=$(readelf -lW "$library")
dynamic=$(readelf -dW "$library")
symbols=$(readelf --dyn-syms -W "$library")

echo "$headers" | grep -q GNU_RELRO || fail "no RELRO segment"
echo "$dynamic" | grep -qE '\(BIND_NOW\)|\(FLAGS\).*BIND_NOW|\(FLAGS_1\).*NOW' || fail "lazy binding: RELRO is partial"
echo "$headers" | grep -q GNU_STACK || fail "no GNU_STACK header: the stack may be executable"
if echo "$headers" | grep GNU_STACK | grep -q E; then fail "executable stack"; fi
if echo "$headers" | grep LOAD | grep -q 'RWE'; then fail "a segment is writable and executable"; fi
if echo "$dynamic" | grep -q TEXTREL; then fail "text relocations"; fi
echo "$symbols" | grep -q __stack_chk_fail || fail "no stack protector"
echo "$symbols" | grep -qE '__[a-z]+_chk@' || fail "no fortified call"

# An empty element is the current folder.
if echo "$dynamic" | grep -qE '\((RUNPATH|RPATH)\).*(\[:|::|:\]|\[\])'; then
  fail "searches libraries in the current folder"
fi

for needed in $(echo "$dynamic" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
  allowed=no
  for pattern in 'libc.so.6' 'libm.so.6' 'libstdc++.so.6' 'libgcc_s.so.1' 'ld-linux-*' "$@"; do
    # shellcheck disable=SC2254  # patterns
    case $needed in $pattern) allowed=yes ;; esac
  done
  [ $allowed = yes ] || fail "needs $needed"
done

# What the loader binds by name although the library defines it (its value is not 0) is the host's
# to replace: the log, the properties and the memory hooks alone.
replaceable='__android_log_print __system_property_get ffree fmalloc '
bound=$(readelf -rW "$library" | awk 'NF >= 5 && $4 ~ /^0*[1-9a-f][0-9a-f]*$/ { print $5 }' | sort -u | tr '\n' ' ')
[ "$bound" = "$replaceable" ] || fail "the host can replace $bound, not $replaceable"

[ $failed = 0 ] || exit 1
echo "$library: RELRO, bound at load, stack protector, fortified calls, no executable stack, no text relocations"
