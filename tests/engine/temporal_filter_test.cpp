// The filter on synthetic scenes: steady where nothing moves, without delay where something does.
#include "engine/temporal_filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace vantro::test {
namespace {

using engine::TemporalFilter;

constexpr int kSide = 64;
constexpr size_t kSamples = kSide * kSide;

// A grey scene with noise of the given deviation and a bright square at column `square`.
std::vector<float> Scene(std::mt19937& random, float noise, int square = -1) {
  std::normal_distribution<float> deviation(0.0f, noise);
  std::vector<float> rgb(3 * kSamples);
  for (size_t i = 0; i < rgb.size(); ++i) {
    const int x = static_cast<int>(i / 3 % kSide);
    const int y = static_cast<int>(i / 3 / kSide);
    const bool bright = square >= 0 && x >= square && x < square + 16 && y >= 24 && y < 40;
    rgb[i] = (bright ? 0.8f : 0.4f) + deviation(random);
  }
  return rgb;
}

double MeanSquare(const float* a, const float* b) {
  double sum = 0;
  for (size_t i = 0; i < kSamples; ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
  return sum / static_cast<double>(kSamples);
}

TEST(TemporalFilter, CalmsANoisyStillScene) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> flicker(0.2f, 0.8f);
  TemporalFilter filter(kSide, kSide);
  std::vector<float> last_in, last_out;
  double change_in = 0;
  double change_out = 0;
  for (int frame = 0; frame < 20; ++frame) {
    std::vector<float> probabilities(kSamples);
    for (float& p : probabilities) p = flicker(random);
    const float* out = filter.Apply(Scene(random, 0.01f).data(), probabilities.data());
    EXPECT_EQ(filter.scene_began(), frame == 0);
    if (frame > 5) {
      change_in += MeanSquare(probabilities.data(), last_in.data());
      change_out += MeanSquare(out, last_out.data());
    }
    last_in = probabilities;
    last_out.assign(out, out + kSamples);
  }
  EXPECT_LT(change_out, 0.1 * change_in);

  // And it settles on what stays.
  const std::vector<float> steady(kSamples, 0.9f);
  for (int frame = 0; frame < 15; ++frame) {
    const float* out = filter.Apply(Scene(random, 0.01f).data(), steady.data());
    last_out.assign(out, out + kSamples);
  }
  EXPECT_LT(MeanSquare(last_out.data(), steady.data()), 1e-4);
}

TEST(TemporalFilter, FollowsMotionAtOnce) {
  std::mt19937 random(2);
  TemporalFilter filter(kSide, kSide);
  for (int frame = 0; frame < 10; ++frame) {
    const int square = 4 * frame;
    std::vector<float> probabilities(kSamples, 0.0f);
    for (int y = 24; y < 40; ++y) {
      for (int x = square; x < square + 16; ++x)
        probabilities[static_cast<size_t>(y * kSide + x)] = 1;
    }
    const float* out = filter.Apply(Scene(random, 0.005f, square).data(), probabilities.data());
    EXPECT_EQ(filter.scene_began(), frame == 0);
    for (size_t i = 0; i < kSamples; ++i) {
      ASSERT_EQ(out[i] > 0.5f, probabilities[i] > 0.5f) << "frame " << frame << " sample " << i;
    }
  }
}

TEST(TemporalFilter, KeepsNothingOfAnotherScene) {
  std::mt19937 random(3);
  TemporalFilter filter(kSide, kSide);
  const std::vector<float> person(kSamples, 1.0f);
  const std::vector<float> nobody(kSamples, 0.1f);
  for (int frame = 0; frame < 5; ++frame) {
    filter.Apply(Scene(random, 0.005f).data(), person.data());
  }
  // A third of the picture changes, the rest looks the same.
  std::vector<float> scene = Scene(random, 0.005f);
  for (size_t i = 0; i < scene.size() / 3; ++i) scene[i] = 0.9f;
  const float* out = filter.Apply(scene.data(), nobody.data());
  EXPECT_TRUE(filter.scene_began());
  for (size_t i = 0; i < kSamples; ++i) ASSERT_EQ(out[i], 0.1f) << i;

  // After a reset nothing is compared with frames of before.
  filter.Reset();
  out = filter.Apply(scene.data(), person.data());
  EXPECT_TRUE(filter.scene_began());
  for (size_t i = 0; i < kSamples; ++i) ASSERT_EQ(out[i], 1.0f) << i;
}

}  // namespace
}  // namespace vantro::test
