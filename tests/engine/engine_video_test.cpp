// The engine over the frames of a video.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "tests/engine/loaded_engine.h"

namespace vantro::test {
namespace {

// One engine of each mode; that for photos takes every frame for itself.
class EngineVideo : public testing::Test {
 protected:
  LoadedEngine video_{VANTRO_SEG_VIDEO};
  LoadedEngine photo_{VANTRO_SEG_PHOTO};
};

TEST_F(EngineVideo, SteadiesANoisyStillScene) {
  const Picture scene = Scale(LoadMedia("astronaut.png"), 320, 320);
  std::mt19937 random(1);
  std::normal_distribution<float> noise(0.0f, 14.0f);
  std::vector<Found> found[2];
  int flips[2] = {};
  for (int frame = 0; frame < 16; ++frame) {
    Picture noisy = scene;
    for (uint8_t& byte : noisy.samples) {
      byte = static_cast<uint8_t>(std::clamp(static_cast<float>(byte) + noise(random), 0.f, 255.f));
    }
    found[0].push_back(video_.See(noisy));
    found[1].push_back(photo_.See(noisy));
    EXPECT_TRUE(SameBox(found[0].back().crop, found[0].front().crop));
    for (size_t which = 0; frame > 4 && which < 2; ++which) {
      const auto now = found[which].back().OnFrame(320, 320);
      const auto last = found[which].end()[-2].OnFrame(320, 320);
      for (size_t i = 0; i < now.size(); ++i) flips[which] += now[i] != last[i];
    }
  }
  EXPECT_GT(flips[1], 1000) << "this scene does not flicker";
  EXPECT_LT(flips[0], flips[1] / 3);
}

// As it does frames of another size.
TEST_F(EngineVideo, FollowsACutAtOnce) {
  const Picture before = LoadMedia("astronaut.png");
  for (const Picture& after : {LoadMedia("grace_hopper_512x512.jpg"), Scale(before, 640, 512)}) {
    for (int frame = 0; frame < 5; ++frame) video_.See(before);
    const Found cut = video_.See(after);
    const Found fresh = LoadedEngine(VANTRO_SEG_VIDEO).See(after);
    EXPECT_EQ(cut.mask, fresh.mask);
    EXPECT_TRUE(SameBox(cut.box, fresh.box) && SameBox(cut.crop, fresh.crop));
  }
}

// A portrait before a wall.
Picture Scene(const Picture& portrait, int left, int shade) {
  Picture scene(640, 360);
  for (int y = 0; y < 360; ++y) {
    for (int x = 0; x < 640; ++x) {
      const bool inside = y >= 60 && x >= left && x < left + 300;
      const uint8_t wall[3] = {static_cast<uint8_t>(shade + x / 10), 120, 130};
      std::copy_n(inside ? portrait.at(x - left, y - 60) : wall, 3, scene.at(x, y));
    }
  }
  return scene;
}

// A person who walks through the picture is not followed by a trail, and a cut to another wall
// gives the person a box of its own even where the old one would do.
TEST_F(EngineVideo, FollowsMotion) {
  const Picture portrait = Scale(LoadMedia("grace_hopper_512x512.jpg"), 300, 300);
  for (int frame = 0; frame < 10; ++frame) {
    const Picture scene = Scene(portrait, 60 + 12 * frame, 90);
    EXPECT_GT(Overlap(video_.See(scene).OnFrame(640, 360), photo_.See(scene).OnFrame(640, 360)),
              0.95)
        << "frame " << frame;
  }
  const Picture elsewhere = Scene(portrait, 178, 190);
  EXPECT_TRUE(SameBox(video_.See(elsewhere).crop, photo_.See(elsewhere).crop));
}

}  // namespace
}  // namespace vantro::test
