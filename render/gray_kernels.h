// Kernels of the grey effect and the blend: luma through the contrast curve, chroma to neutral.
#ifndef VANTRO_RENDER_GRAY_KERNELS_H_
#define VANTRO_RENDER_GRAY_KERNELS_H_

#include <cstddef>
#include <cstdint>

#include "render/contrast_curve.h"

namespace vantro {

inline constexpr uint8_t kNeutralChroma = 128;

// Replaces luma bytes by their values on the curve.
void ApplyCurve(const ContrastCurve& curve, uint8_t* luma, size_t count);

// Greys packed groups U, Y0, V, Y1 of four bytes.
void GrayGroups(const ContrastCurve& curve, uint8_t* packed, size_t groups);

// The same, but group i keeps its chroma when mask[2 * i] is nonzero. Reads no mask byte behind
// mask[2 * groups - 2].
void BlendGroups(const ContrastCurve& curve, uint8_t* packed, const uint8_t* mask, size_t groups);

// Neutralises the chroma pairs of which any of the four mask bytes is zero: pair i lies below bytes
// 2 * i and 2 * i + 1 of both mask rows (which may be the same row).
void BlendChroma(uint8_t* chroma, const uint8_t* upper_mask, const uint8_t* lower_mask,
                 size_t pairs);

}  // namespace vantro

#endif  // VANTRO_RENDER_GRAY_KERNELS_H_
