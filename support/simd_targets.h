// The Highway targets that every kernel file is compiled for. Include before any Highway header.
//
// A kernel file has this shape (the file names itself in HWY_TARGET_INCLUDE):
//
//   #include "support/simd_targets.h"
//   #undef HWY_TARGET_INCLUDE
//   #define HWY_TARGET_INCLUDE "render/gray_kernels.cpp"
//   #include "hwy/foreach_target.h"  // includes this file once a target
//   #include "hwy/highway.h"
//
//   HWY_BEFORE_NAMESPACE();
//   namespace vantro {
//   namespace HWY_NAMESPACE {
//   namespace {
//   namespace hn = hwy::HWY_NAMESPACE;
//   void AddRow(const uint8_t* src, uint8_t* dst, int width) { ... }
//   }  // namespace
//   }  // namespace HWY_NAMESPACE
//   }  // namespace vantro
//   HWY_AFTER_NAMESPACE();
//
//   #if HWY_ONCE
//   #include "support/simd_dispatch.h"
//   namespace vantro {
//   VANTRO_KERNEL_TABLE(AddRow);
//   void AddRow(const uint8_t* src, uint8_t* dst, int width) {
//     VANTRO_KERNEL(AddRow)(src, dst, width);
//   }
//   }  // namespace vantro
//   #endif
//
// Everything compiled for a higher level stays in the target's anonymous namespace; anything else
// that such a kernel needs (standard headers included) is included above HWY_BEFORE_NAMESPACE, so
// that no inline function built for a wider processor can replace a baseline one at link time.
// A fused multiply-add on floats gives other bits than separate rounding: a kernel uses it only
// where it shows that it does not (motion/expansion_row.cpp).
#ifndef VANTRO_SUPPORT_SIMD_TARGETS_H_
#define VANTRO_SUPPORT_SIMD_TARGETS_H_

#if defined(__x86_64__)
// Levels: baseline, SSE4, AVX2, AVX-512. At the baseline Highway has one-lane vectors only
// (HWY_SCALAR: its 16-byte emulation meets a vectoriser bug of gcc before 12.3, and Debian's is
// 12.2), without shuffles and the like. A kernel guards its vector part by
// "#if HWY_TARGET != HWY_SCALAR" and leaves the rest to the plain loop, which finishes the row at
// the other levels too.
#define HWY_BROKEN_EMU128 1
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_AVX3_DL)
#else
#define HWY_DISABLED_TARGETS \
  (HWY_SVE | HWY_SVE2 | HWY_SVE_256 | HWY_SVE2_128 | HWY_EMU128 | HWY_SCALAR)
#endif

#endif  // VANTRO_SUPPORT_SIMD_TARGETS_H_
