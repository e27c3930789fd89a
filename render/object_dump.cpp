#include "render/object_dump.h"

#include "image/bmp_dump.h"
#include "support/log.h"
#include "support/scratch.h"
#include "vantro/bounded.h"

namespace vantro {

bool DumpBeforeBlend(const Vantro_t& frame, const uint8_t* crop_mask, int32_t crop_width,
                     int32_t crop_height) {
  constexpr uint8_t kSubjectGray = 200;
  const size_t bytes = static_cast<size_t>(crop_width) * static_cast<size_t>(crop_height);
  const HeapBlock<uint8_t> image = AllocFromHeap<uint8_t>(bytes);
  if (image == nullptr) {
    VANTRO_LOGI(kTagVideo, "A is malloc failed! \n");
    return false;
  }
  memset_s(image.get(), bytes, 0, bytes);
  for (size_t i = 0; i < bytes; ++i) {
    if (crop_mask[i] != 0) image[i] = kSubjectGray;
  }
  DumpGrayImage("/data/vendor/camera/img/mask_CROP_size.bmp", image.get(), crop_width, crop_height);
  DumpFrame("/data/vendor/camera/img/targetin_put.bmp", frame);
  return true;
}

void DumpAfterBlend(const Vantro_t& frame) {
  DumpFrame("/data/vendor/camera/img/targetout_put.bmp", frame);
}

}  // namespace vantro
