// A segmentation engine that does what a test tells it: libPlimra.so of the tests. A test loads it
// by path before it opens a handle; the library then finds it under its name.
#ifndef VANTRO_TESTS_SCRIPTED_ENGINE_H_
#define VANTRO_TESTS_SCRIPTED_ENGINE_H_

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
  int creates = 0;
  int destroys = 0;
  int processes = 0;
  int alive = 0;
  int32_t create_mode = -1;
  std::string model_dir;
};

// The default of EngineScript::process for masks of this size.
int32_t SegmentEllipse(const SegmentCall& call, int32_t mask_width, int32_t mask_height);

}  // namespace vantro::test

// The script of the loaded engine; shared by all its engines.
extern "C" __attribute__((visibility("default"))) vantro::test::EngineScript* Plimra_Script();

#endif  // VANTRO_TESTS_SCRIPTED_ENGINE_H_
