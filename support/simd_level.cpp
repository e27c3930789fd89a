#include "support/simd_level.h"

#if defined(__x86_64__)
#include <cpuid.h>
#endif

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vantro {
namespace {

constexpr const char* kNames[kSimdLevelCount] = {"baseline", "sse4", "avx2", "avx512"};

SimdLevel LevelAtLoad() {
  const SimdLevel best = DetectSimdLevel();
  const char* wanted = std::getenv("VANTRO_SIMD");
  if (wanted != nullptr) {
    for (int i = 0; i < kSimdLevelCount; ++i) {
      if (std::strcmp(wanted, kNames[i]) == 0) return std::min(best, static_cast<SimdLevel>(i));
    }
  }
  return best;
}

// Zero, the baseline, until its initialiser has run: a kernel called from another initialiser is
// slower, not wrong.
SimdLevel active_level = LevelAtLoad();

#if defined(__x86_64__)
// clang 14 does not know this one by name.
bool HasF16c() {
  unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
  return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_F16C) != 0;
}
#endif

}  // namespace

SimdLevel DetectSimdLevel() {
#if defined(__x86_64__)
  __builtin_cpu_init();
  // The feature lists are those that Highway compiles its targets with.
  const bool sse4 = __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("sse4.2") &&
                    __builtin_cpu_supports("aes") && __builtin_cpu_supports("pclmul");
  const bool avx2 = sse4 && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                    __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") && HasF16c();
  const bool avx512 = avx2 && __builtin_cpu_supports("avx512f") &&
                      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512cd") &&
                      __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
  if (avx512) return SimdLevel::kAvx512;
  if (avx2) return SimdLevel::kAvx2;
  if (sse4) return SimdLevel::kSse4;
#endif
  return SimdLevel::kBaseline;
}

SimdLevel ActiveSimdLevel() { return active_level; }

SimdLevel ForceSimdLevel(SimdLevel level) {
  active_level = std::min(level, DetectSimdLevel());
  return active_level;
}

const char* SimdLevelName(SimdLevel level) { return kNames[static_cast<int>(level)]; }

}  // namespace vantro
