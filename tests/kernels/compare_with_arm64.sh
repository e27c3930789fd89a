#!/usr/bin/env bash
# Holds what every operation computes on 64-bit Arm against what it computes here at each vector
# level that this processor has. Needs the presets release and arm64.
. "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

arm_root=/usr/aarch64-linux-gnu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build release kernel_digests >/dev/null
build arm64 kernel_digests >/dev/null

# The operations print and log lines of their own.
export VANTRO_LOG=silent
qemu-aarch64 -L $arm_root -E LD_LIBRARY_PATH=$arm_root/lib \
  "$root/build/arm64/tests/kernels/kernel_digests" "$work/arm64" >/dev/null
operations=$(wc -l <"$work/arm64")
[ "$operations" -gt 0 ] || die "no operation ran under qemu-user"

here=$root/build/release/tests/kernels/kernel_digests
compared=()
for level in baseline sse4 avx2 avx512; do
  [ "$(VANTRO_SIMD=$level "$here" --level)" = "$level" ] || continue
  VANTRO_SIMD=$level "$here" "$work/$level" >/dev/null
  diff "$work/$level" "$work/arm64" || die "64-bit Arm and $level differ (above, $level first)"
  compared+=("$level")
done
say "$operations operations, 200 random cases each: the same bits on 64-bit Arm as here at ${compared[*]}"
