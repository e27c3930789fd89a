// The engine over the frames of a video.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "tests/engine/loaded_engine.h"
#include "tests/engine/masks.h"
#include "tests/engine/picture.h"

namespace vantro::test {
namespace {

Picture WithNoise(const Picture& picture, std::mt19937& random) {
  std::normal_distribution<float> noise(0.0f, 14.0f);
  Picture noisy = picture;
  for (uint8_t& byte : noisy.rgb) {
    byte = static_cast<uint8_t>(std::clamp(static_cast<float>(byte) + noise(random), 0.0f, 255.0f));
  }
  return noisy;
}

TEST(EngineVideo, SteadiesANoisyStillScene) {
  const EngineLibrary library;
  LoadedEngine video(library, VANTRO_SEG_VIDEO);
  LoadedEngine photo(library, VANTRO_SEG_PHOTO);  // takes every frame for itself
  const Picture scene = Scale(LoadMedia("astronaut.png"), 320, 320);
  std::mt19937 random(1);
  std::vector<uint8_t> last[2];
  int flips[2] = {};
  CROP_BOX first_crop{};
  for (int frame = 0; frame < 16; ++frame) {
    const Picture noisy = WithNoise(scene, random);
    const Found steadied = video.See(noisy);
    const std::vector<uint8_t> now[2] = {OnFrame(steadied, 320, 320),
                                         OnFrame(photo.See(noisy), 320, 320)};
    if (frame == 0) first_crop = steadied.crop;
    EXPECT_EQ(steadied.crop.crop_top, first_crop.crop_top);
    EXPECT_EQ(steadied.crop.crop_right, first_crop.crop_right);
    for (int which = 0; which < 2; ++which) {
      for (size_t i = 0; frame > 4 && i < now[which].size(); ++i) {
        flips[which] += now[which][i] != last[which][i];
      }
      last[which] = now[which];
    }
  }
  EXPECT_GT(flips[1], 1000) << "this scene does not flicker";
  EXPECT_LT(flips[0], flips[1] / 3);
}

TEST(EngineVideo, FollowsACutAtOnce) {
  const EngineLibrary library;
  LoadedEngine video(library, VANTRO_SEG_VIDEO);
  LoadedEngine fresh(library, VANTRO_SEG_VIDEO);
  const Picture before = LoadMedia("astronaut.png");
  const Picture after = Scale(LoadMedia("grace_hopper_512x512.jpg"), 512, 512);
  for (int frame = 0; frame < 5; ++frame) video.See(before);
  const Found cut = video.See(after);
  const Found expected = fresh.See(after);
  EXPECT_EQ(cut.mask, expected.mask);
  EXPECT_EQ(cut.box.crop_left, expected.box.crop_left);
  EXPECT_EQ(cut.crop.crop_left, expected.crop.crop_left);

  // So do frames of another size or format.
  for (int frame = 0; frame < 5; ++frame) video.See(before);
  LoadedEngine other(library, VANTRO_SEG_VIDEO);
  const Picture wide = Scale(before, 640, 512);
  EXPECT_EQ(video.See(wide).mask, other.See(wide).mask);
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
TEST(EngineVideo, FollowsMotion) {
  const EngineLibrary library;
  LoadedEngine video(library, VANTRO_SEG_VIDEO);
  LoadedEngine photo(library, VANTRO_SEG_PHOTO);
  const Picture portrait = Scale(LoadMedia("grace_hopper_512x512.jpg"), 300, 300);
  for (int frame = 0; frame < 10; ++frame) {
    const Picture scene = Scene(portrait, 60 + 12 * frame, 90);
    const std::vector<uint8_t> moving = OnFrame(video.See(scene), 640, 360);
    const std::vector<uint8_t> still = OnFrame(photo.See(scene), 640, 360);
    EXPECT_GT(Overlap(moving, still), 0.95) << "frame " << frame;
  }
  const Picture elsewhere = Scene(portrait, 178, 190);
  const Found cut = video.See(elsewhere);
  const Found fresh = photo.See(elsewhere);
  EXPECT_EQ(cut.crop.crop_left, fresh.crop.crop_left);
  EXPECT_EQ(cut.crop.crop_right, fresh.crop.crop_right);
}

}  // namespace
}  // namespace vantro::test
