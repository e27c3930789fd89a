// Rows of pixel pairs from YUV to three-byte colour and back. `pairs` counts pairs of pixels;
// nothing outside the named pixels is read or written. Source and destination do not overlap.
#ifndef VANTRO_IMAGE_COLOUR_ROW_KERNELS_H_
#define VANTRO_IMAGE_COLOUR_ROW_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

// Full range.
void Nv21RowToBgr(const uint8_t* luma, const uint8_t* vu, ptrdiff_t pairs, uint8_t* bgr);
void UyvyRowToBgr(const uint8_t* uyvy, ptrdiff_t pairs, uint8_t* bgr);
void PlanarRowToBgr(const uint8_t* luma, const uint8_t* u, const uint8_t* v, ptrdiff_t pairs,
                    uint8_t* bgr);
// Studio range.
void PlanarRowToRgb(const uint8_t* luma, const uint8_t* u, const uint8_t* v, ptrdiff_t pairs,
                    uint8_t* rgb);

// Chroma of the left pixel of each pair; luma alone where `vu` is null.
void BgrRowToUyvy(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* uyvy);
void BgrRowToNv21(const uint8_t* bgr, ptrdiff_t pairs, uint8_t* luma, uint8_t* vu);

}  // namespace vantro

#endif  // VANTRO_IMAGE_COLOUR_ROW_KERNELS_H_
