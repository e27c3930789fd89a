// Brings a mask from segmentation resolution to the size of the crop box.
#ifndef VANTRO_RENDER_MASK_TO_CROP_H_
#define VANTRO_RENDER_MASK_TO_CROP_H_

#include <cstdint>

#include "support/scratch.h"
#include "vantro/vantro.h"

namespace vantro {

struct MaskSize {
  int32_t width;
  int32_t height;
};

// Stretches a mask over the crop box. A box more than four (two) times as large in both directions
// is filled by the fixed 4x (2x) filter from a mask resized to a quarter (half) of it, which lives
// in the pool until the crop-size mask is complete; any other box in one resize.
class MaskStretcher {
 public:
  // `crop` has crop_size.width * crop_size.height bytes. Takes the reduced mask from the pool.
  MaskStretcher(const uint8_t* mask, MaskSize mask_size, uint8_t* crop, MaskSize crop_size,
                MemPool* pool);

  // False when the pool had no memory; nothing else may be called then.
  bool ready() const { return factor_ == 1 || reduced_ != nullptr; }

  // The resize; for a box without a fixed filter it writes the whole crop-size mask. Writes its
  // timing line when `timed`. False when there was no memory for it.
  bool Resize(bool timed);

  // Writes the rest of the crop-size mask, with the filter's timing line when `timed`, and releases
  // the reduced one.
  void WriteAll(bool timed);

  // Writes crop rows from `begin` on, some that fit the cache; begin with 0 and go on with the
  // result, the row behind the last one written, up to the crop height.
  int32_t WriteBand(int32_t begin);

 private:
  MaskSize reduced_size() const {
    return {crop_size_.width / factor_, crop_size_.height / factor_};
  }

  const uint8_t* mask_;
  MaskSize mask_size_;
  uint8_t* crop_;
  MaskSize crop_size_;
  int32_t factor_;
  PoolBlock<uint8_t> reduced_;
};

}  // namespace vantro

#endif  // VANTRO_RENDER_MASK_TO_CROP_H_
