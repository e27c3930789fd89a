// A segmentation engine that does what a test tells it: libPlimra.so of the tests. A test loads it
// by path before it opens a handle; the library then finds it under its name.
#ifndef VANTRO_TESTS_SCRIPTED_ENGINE_H_
#define VANTRO_TESTS_SCRIPTED_ENGINE_H_

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>

#include "vantro/vantro.h"

namespace vantro::test {

// One call of Plimra_Process as the engine received it.
struct SegmentCall {
  uint8_t* frame;
  uint8_t yuv_format;
  int32_t width;
  int32_t height;
  int32_t stride;
  int32_t seg_param_a;
  uint8_t* mask_out;
  CROP_BOX* box;
  CROP_BOX* box_vantro;
  int32_t seg_param_b;
  uint8_t* seg_output;
  int32_t seg_mode;
};

struct EngineScript {
  // What the entry points answer.
  int32_t create_result = 0;
  int32_t destroy_result = 0;
  int32_t mask_width = 64;
  int32_t mask_height = 48;
  // Fills the mask and the boxes; the default is a centred ellipse in the middle of the frame.
  std::function<int32_t(const SegmentCall&)> process;

  // What was seen.
  int destroys = 0;
  int processes = 0;
  int alive = 0;
  int32_t create_mode = -1;
  std::string model_dir;
};

// The default of EngineScript::process for masks of this size.
inline int32_t SegmentEllipse(const SegmentCall& call, int32_t mask_width, int32_t mask_height) {
  // Half the frame in both directions, on even bounds.
  CROP_BOX& box = *call.box_vantro;
  box.crop_left = call.width / 4 / 2 * 2;
  box.crop_top = call.height / 4 / 2 * 2;
  box.crop_right = std::max(box.crop_left, box.crop_left + call.width / 2 / 2 * 2 - 1);
  box.crop_bottom = std::max(box.crop_top, box.crop_top + call.height / 2 / 2 * 2 - 1);
  const int32_t box_mode = call.box->box_mode;
  *call.box = box;
  call.box->box_mode = box_mode;
  for (int32_t y = 0; y < mask_height; ++y) {
    for (int32_t x = 0; x < mask_width; ++x) {
      const double dx = (x + 0.5) / mask_width - 0.5;
      const double dy = (y + 0.5) / mask_height - 0.5;
      call.mask_out[y * mask_width + x] = dx * dx + dy * dy < 0.2 ? 1 : 0;
    }
  }
  return 0;
}

}  // namespace vantro::test

// The script of the loaded engine; shared by all its engines.
extern "C" __attribute__((visibility("default"))) vantro::test::EngineScript* Plimra_Script();

#endif  // VANTRO_TESTS_SCRIPTED_ENGINE_H_
