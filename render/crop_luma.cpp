#include <cstddef>
#include <cstring>

#include "vantro/render.h"

unsigned char* getYcomponent(unsigned char* dst, const unsigned char* src, int srcStride,
                             int dstStride, int /*unused0*/, int /*unused1*/, CROP_BOX crop_param,
                             int yuv_format) {
  const ptrdiff_t columns = ptrdiff_t{crop_param.crop_right} - crop_param.crop_left + 1;
  const bool packed = yuv_format == VANTRO_FORMAT_UYVY;
  const bool planar = yuv_format == VANTRO_FORMAT_NV21 || yuv_format == VANTRO_FORMAT_NV12;
  if (columns < 1 || crop_param.crop_left < 0 || crop_param.crop_top < 0 || !(packed || planar) ||
      dst == nullptr || src == nullptr) {
    return dst;
  }
  unsigned char* to = dst;
  for (ptrdiff_t y = crop_param.crop_top; y <= crop_param.crop_bottom; ++y, to += dstStride) {
    const ptrdiff_t first = y * srcStride + crop_param.crop_left;
    if (planar) {
      std::memcpy(to, src + first, static_cast<size_t>(columns));
      continue;
    }
    const unsigned char* luma = src + 2 * first + 1;
    for (ptrdiff_t x = 0; x < columns; ++x) to[x] = luma[2 * x];
  }
  return dst;
}
