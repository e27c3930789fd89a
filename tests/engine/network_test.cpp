// XNNPACK's answer against the operations' definitions, and the origin of the reference masks.
#include "engine/network.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "engine/model_store.h"
#include "tests/engine/masks.h"
#include "tests/engine/picture.h"
#include "tests/engine/reference_network.h"

namespace vantro::test {
namespace {

engine::ModelGraph LoadGraph() {
  std::string error;
  std::optional<engine::ModelGraph> graph = engine::LoadModel(VANTRO_MODEL_DIR, &error);
  if (!graph) throw std::runtime_error(error + ": run scripts/fetch-model");
  return std::move(*graph);
}

// The network's input for a whole picture: means of its own colours.
std::vector<double> InputOf(const std::string& name) {
  const Picture picture = LoadMedia(name);
  if (picture.width != 512 || picture.height != 512)
    throw std::runtime_error(name + ": not 512x512");
  std::vector<double> input;
  for (int y = 0; y < 512; y += 2) {
    for (int x = 0; x < 512; x += 2) {
      for (int c = 0; c < 3; ++c) {
        input.push_back((picture.at(x, y)[c] + picture.at(x + 1, y)[c] + picture.at(x, y + 1)[c] +
                         picture.at(x + 1, y + 1)[c]) /
                        (4.0 * 255.0));
      }
    }
  }
  return input;
}

TEST(Network, ComputesWhatTheModelDefines) {
  const engine::ModelGraph graph = LoadGraph();
  std::string error;
  const std::unique_ptr<engine::Network> network = engine::Network::Create(graph, &error);
  ASSERT_NE(network, nullptr) << error;
  ASSERT_EQ(network->rows(), 256);
  ASSERT_EQ(network->columns(), 256);

  std::vector<double> input = InputOf("astronaut.png");
  std::mt19937 random(3);
  std::uniform_real_distribution<double> noise(-0.1, 0.1);
  for (size_t i = 0; i < input.size(); ++i) {
    network->input()[i] = static_cast<float>(input[i] + noise(random));
    input[i] = network->input()[i];
  }
  ASSERT_TRUE(network->Run());
  const std::vector<double> expected = RunReference(graph, input);
  int between = 0;
  for (size_t i = 0; i < expected.size(); ++i) {
    ASSERT_NEAR(network->output()[i], expected[i], 1e-3) << "sample " << i;
    between += expected[i] > 0.05 && expected[i] < 0.95;
  }
  EXPECT_GT(between, 500) << "an answer this plain compares little";
}

// The masks in the tree are the plain evaluation of the model on the picture's own colours: no
// camera format, no sampler and no XNNPACK had a part in them. With VANTRO_WRITE_REFERENCE set they
// are written anew.
TEST(Network, ReferenceMasksAreThePlainEvaluation) {
  const engine::ModelGraph graph = LoadGraph();
  for (const char* name : {"astronaut.png", "grace_hopper_512x512.jpg"}) {
    std::vector<uint8_t> mask;
    for (const double probability : RunReference(graph, InputOf(name))) {
      mask.push_back(probability > 0.5 ? 1 : 0);
    }
    if (std::getenv("VANTRO_WRITE_REFERENCE") != nullptr) SaveReferenceMask(name, mask);
    EXPECT_GT(Overlap(mask, LoadReferenceMask(name)), 0.9999) << name;
  }
}

}  // namespace
}  // namespace vantro::test
