#include <cstddef>

#include "support/log.h"
#include "vantro/mask.h"

namespace {

bool IsRegion(int label, int regions) { return label >= 0 && label < regions; }

int64_t PixelCount(int width, int height) {
  return width < 1 || height < 1 ? 0 : int64_t{width} * height;
}

}  // namespace

int calArea(int* labels, int width, int height, int regions, int* area) {
  const int64_t pixels = PixelCount(width, height);
  for (int64_t i = 0; i < pixels;) {
    const int label = labels[i];
    if (!IsRegion(label, regions)) return VANTRO_ERR_STAGE_INPUT;
    // Neighbours mostly share a region: one addition a run keeps the sum out of memory.
    const int64_t begin = i;
    while (i < pixels && labels[i] == label) ++i;
    area[label] += static_cast<int>(i - begin);
  }
  return VANTRO_OK;
}

int getMask(unsigned char* mask, int* labels, int width, int height, int /*regions*/, int* area,
            int threshold) {
  const int64_t pixels = PixelCount(width, height);
  for (int64_t i = 0; i < pixels; ++i) {
    if (area[labels[i]] < threshold) mask[i] = 0;
  }
  return VANTRO_OK;
}

int JudgeArea(int* labels, unsigned char* guide, int width, int height, int regions, int* flags) {
  const int64_t pixels = PixelCount(width, height);
  for (int64_t i = 0; i < pixels; ++i) {
    if (!IsRegion(labels[i], regions)) {
      VANTRO_LOGE(vantro::kTagPlain, "enter %s ,line : %d    AREA ERROR", "JudgeArea", 66);
      return VANTRO_ERR_STAGE_INPUT;
    }
    flags[labels[i]] |= guide[i];
  }
  return VANTRO_OK;
}

void getMaskBase_part(unsigned char* mask, int* labels, int width, int rowBegin, int rowEnd,
                      int* flags) {
  if (width < 1 || rowBegin < 0) return;
  const ptrdiff_t end = ptrdiff_t{rowEnd} * width;
  for (ptrdiff_t i = ptrdiff_t{rowBegin} * width; i < end; ++i) {
    if (flags[labels[i]] == 0) mask[i] = 0;
  }
}

int getMaskbyBase(unsigned char* mask, int* labels, int width, int height, int* flags) {
  getMaskBase_part(mask, labels, width, 0, height, flags);
  return VANTRO_OK;
}
