// XNNPACK's answer to the sample portraits against the reference masks in the tree: those are the
// model evaluated by its operations' plain definitions, in double precision, on means of the
// picture's own colours. No camera format, no sampler and no XNNPACK had a part in them.
#include "engine/network.h"

#include <gtest/gtest.h>

#include "engine/model_store.h"
#include "tests/engine/picture.h"

namespace vantro::test {
namespace {

TEST(Network, ComputesWhatTheModelDefines) {
  std::string error;
  std::optional<engine::ModelGraph> graph = engine::LoadModel(VANTRO_MODEL_DIR, &error);
  ASSERT_TRUE(graph) << error << ": run scripts/fetch-model";
  const auto network = engine::Network::Create(std::move(*graph), &error);
  ASSERT_NE(network, nullptr) << error;
  ASSERT_EQ(network->rows(), 256);
  ASSERT_EQ(network->columns(), 256);
  for (const char* name : {"astronaut.png", "grace_hopper_512x512.jpg"}) {
    const Picture picture = LoadMedia(name);
    ASSERT_EQ(picture.width, 512);
    float* input = network->input();
    for (int y = 0; y < 512; y += 2) {
      for (int x = 0; x < 512; x += 2) {
        for (int c = 0; c < 3; ++c) {
          *input++ = static_cast<float>(picture.at(x, y)[c] + picture.at(x + 1, y)[c] +
                                        picture.at(x, y + 1)[c] + picture.at(x + 1, y + 1)[c]) /
                     (4 * 255.0f);
        }
      }
    }
    ASSERT_TRUE(network->Run());
    std::vector<uint8_t> mask(256 * 256);
    for (size_t i = 0; i < mask.size(); ++i) mask[i] = network->output()[i] > 0.5f ? 1 : 0;
    EXPECT_GT(Overlap(mask, LoadReferenceMask(name)), 0.9995) << name;
  }
}

}  // namespace
}  // namespace vantro::test
