#!/usr/bin/env bash
# Holds what every operation computes on 64-bit Arm against what it computes here at each vector
# level. Needs the presets release and arm64.
. "$(dirname "${BASH_SOURCE[0]}")/../../scripts/common.sh"

arm_root=/usr/aarch64-linux-gnu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build release kernel_digests
build arm64 kernel_digests

qemu-aarch64 -L $arm_root -E LD_LIBRARY_PATH=$arm_root/lib \
  "$root/build/arm64/tests/kernels/kernel_digests" "$work/arm64"
operations=$(wc -l <"$work/arm64")
[ "$operations" -gt 0 ] || die "no operation ran under qemu-user"

for level in baseline sse4 avx2 avx512; do
  VANTRO_SIMD=$level "$root/build/release/tests/kernels/kernel_digests" "$work/$level"
  diff "$work/$level" "$work/arm64" || die "64-bit Arm and $level differ (above, $level first)"
done
say "$operations operations give the same bits on 64-bit Arm as at every level here"
