// Tables of one kernel's builds, indexed by the active level. For the HWY_ONCE part of a kernel
// file; see simd_targets.h.
#ifndef VANTRO_SUPPORT_SIMD_DISPATCH_H_
#define VANTRO_SUPPORT_SIMD_DISPATCH_H_

#include "support/simd_level.h"

#if defined(__x86_64__)
#define VANTRO_KERNEL_TABLE(kernel)                                                       \
  static constexpr decltype(&N_SCALAR::kernel) kernel##Table[vantro::kSimdLevelCount] = { \
      &N_SCALAR::kernel, &N_SSE4::kernel, &N_AVX2::kernel, &N_AVX3::kernel}
#else
#define VANTRO_KERNEL_TABLE(kernel)                                                     \
  static constexpr decltype(&N_NEON::kernel) kernel##Table[vantro::kSimdLevelCount] = { \
      &N_NEON::kernel, &N_NEON::kernel, &N_NEON::kernel, &N_NEON::kernel}
#endif

// The build of `kernel` to call now.
#define VANTRO_KERNEL(kernel) (kernel##Table[static_cast<int>(vantro::ActiveSimdLevel())])

#endif  // VANTRO_SUPPORT_SIMD_DISPATCH_H_
