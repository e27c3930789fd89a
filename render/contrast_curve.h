// The contrast curve as a context carries it.
#ifndef VANTRO_RENDER_CONTRAST_CURVE_H_
#define VANTRO_RENDER_CONTRAST_CURVE_H_

#include <array>
#include <cstdint>
#include <cstring>

namespace vantro {

// The curve that every built context holds: three straight pieces of slope 1/5, 49/41 and 1/5 that
// meet at (25, 5) and (230, 250), rounded half up.
constexpr std::array<uint8_t, 256> MakeBuiltInCurve() {
  std::array<uint8_t, 256> curve{};
  for (int v = 0; v < 256; ++v) {
    int value = (2 * v + 5) / 10;
    if (v > 25) value = 5 + ((v - 25) * 98 + 41) / 82;
    if (v > 229) value = 204 + (2 * v + 5) / 10;
    curve[static_cast<size_t>(v)] = static_cast<uint8_t>(value);
  }
  return curve;
}

inline constexpr std::array<uint8_t, 256> kBuiltInCurve = MakeBuiltInCurve();

// A context's curve. The kernels compute the built-in one, which is faster than looking it up; the
// table is the host's memory, so that is only done while it holds that curve.
struct ContrastCurve {
  explicit ContrastCurve(const uint8_t* contrast_table)
      : table(contrast_table),
        built_in(std::memcmp(contrast_table, kBuiltInCurve.data(), kBuiltInCurve.size()) == 0) {}

  const uint8_t* table;
  bool built_in;
};

}  // namespace vantro

#endif  // VANTRO_RENDER_CONTRAST_CURVE_H_
