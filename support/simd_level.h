// Which vector instructions the kernels may use, chosen once when the library is loaded.
#ifndef VANTRO_SUPPORT_SIMD_LEVEL_H_
#define VANTRO_SUPPORT_SIMD_LEVEL_H_

namespace vantro {

// In rising order; a processor that has one level has all those before it. 64-bit Arm has one
// level, its own baseline (NEON).
enum class SimdLevel : int { kBaseline = 0, kSse4 = 1, kAvx2 = 2, kAvx512 = 3 };

inline constexpr int kSimdLevelCount = 4;

// The best level this processor has.
SimdLevel DetectSimdLevel();

// The level that kernels run at. At load it is the processor's best, or the lower one that the
// environment variable VANTRO_SIMD names ("baseline", "sse4", "avx2", "avx512"): every level
// computes the same bits, so this only serves tests and measurements.
SimdLevel ActiveSimdLevel();

// Test hook: runs kernels at `level`, or at the processor's best if that is lower. Not to be called
// while another thread is inside the library. Returns the level now active.
SimdLevel ForceSimdLevel(SimdLevel level);

const char* SimdLevelName(SimdLevel level);

}  // namespace vantro

#endif  // VANTRO_SUPPORT_SIMD_LEVEL_H_
