// The engine as the library that a host loads: masks, formats, arguments, the search for the model.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/loaded_engine.h"
#include "tests/support/guarded_buffer.h"

namespace vantro::test {
namespace {

namespace fs = std::filesystem;

constexpr int kFormats[] = {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY};

const char* const kPortraits[] = {"astronaut.png", "grace_hopper_512x512.jpg"};

// What the frame shows of the person, at the resolution of the reference masks.
std::vector<uint8_t> Reduced(const Found& found, int width, int height) {
  const std::vector<uint8_t> person = found.OnFrame(width, height);
  std::vector<uint8_t> reduced;
  for (int i = 0; i < 256 * 256; ++i) {
    const int row = (2 * (i / 256) + 1) * height / 512;
    const int column = (2 * (i % 256) + 1) * width / 512;
    reduced.push_back(person[static_cast<size_t>(row * width + column)]);
  }
  return reduced;
}

TEST(Engine, FindsPortraitsInEveryModeFormatSizeAndStride) {
  for (const int32_t mode : {VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO}) {
    for (const auto& [name, width, height, padding] : {std::tuple{kPortraits[0], 512, 512, 0},
                                                       {kPortraits[1], 1920, 1920, 0},
                                                       {kPortraits[1], 1081, 1083, 17},
                                                       {kPortraits[1], 300, 300, 1},
                                                       {kPortraits[1], 3000, 3000, 72}}) {
      const Picture picture = Scale(LoadMedia(name), width, height);
      LoadedEngine engine(mode);
      for (const int format : kFormats) {
        SCOPED_TRACE(testing::Message() << name << " " << width << ", format " << format);
        const std::vector<uint8_t> bytes = ToFrame(picture, format, width + padding);
        // The frame ends where its description does, and is not written.
        GuardedBuffer frame(bytes.size());
        std::copy(bytes.begin(), bytes.end(), frame.data());
        frame.set_read_only(true);
        Found found;
        for (const int32_t pass : {VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO}) {
          ASSERT_EQ(
              engine.Process(frame.data(), format, width, height, width + padding, pass, &found),
              0);
          EXPECT_GE(Overlap(Reduced(found, width, height), LoadReferenceMask(name)), 0.97);
          EXPECT_EQ(found.box.box_mode, 2);
          EXPECT_EQ(found.crop.box_mode, 2);
        }
      }
    }
  }
}

// In a corner of a wide frame whose background continues the portrait's edge.
TEST(Engine, SecondPassRefinesASmallPerson) {
  const Picture portrait = LoadMedia(kPortraits[1]);
  const std::vector<uint8_t> mask = LoadReferenceMask(kPortraits[1]);
  Picture wide(1600, 900);
  std::vector<uint8_t> reference(1600 * 900, 0);
  for (int y = 0; y < 900; ++y) {
    for (int x = 0; x < 1600; ++x) {
      const bool inside = x >= 780 && x < 1200 && y >= 480;
      const int column = (x - 780) * 512 / 420;
      const int row = (y - 480) * 512 / 420;
      std::copy_n(inside ? portrait.at(column, row) : portrait.at(511, 0), 3, wide.at(x, y));
      if (!inside) continue;
      reference[static_cast<size_t>(y * 1600 + x)] =
          mask[static_cast<size_t>(row / 2 * 256 + column / 2)];
    }
  }
  LoadedEngine engine(VANTRO_SEG_PHOTO);
  const auto share = [&](const std::vector<int32_t>& passes) {
    return Overlap(engine.See(wide, passes).OnFrame(1600, 900), reference);
  };
  const double first = share({VANTRO_SEG_VIDEO});
  const double both = share({VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO});
  EXPECT_GT(first, 0.6);
  EXPECT_GT(both, std::max(first + 0.02, 0.93));
  // The second pass makes up for a missing first one.
  EXPECT_EQ(share({VANTRO_SEG_PHOTO}), both);
}

TEST(Engine, NobodyIsAnEmptyMaskAndTheWholeFrame) {
  Picture slope(642, 481);
  for (size_t i = 0; i < slope.samples.size(); ++i)
    slope.samples[i] = static_cast<uint8_t>(i / 7000);
  for (const int32_t mode : {VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO}) {
    LoadedEngine engine(mode);
    engine.See(LoadMedia(kPortraits[0]));  // somebody was there before
    for (const std::vector<int32_t>& passes :
         {std::vector<int32_t>{VANTRO_SEG_VIDEO}, {VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO}}) {
      const Found found = engine.See(slope, passes);
      EXPECT_EQ(std::count(found.mask.begin(), found.mask.end(), 0), 256 * 256);
      const CROP_BOX whole = {
          .crop_top = 0, .crop_bottom = 480, .crop_left = 0, .crop_right = 641, .box_mode = 2};
      EXPECT_TRUE(SameBox(found.box, whole) && SameBox(found.crop, whole));
    }
  }
}

TEST(Engine, RefusesBadArgumentsAndWritesNothing) {
  const EngineLibrary library;
  LoadedEngine engine(VANTRO_SEG_VIDEO);
  std::vector<uint8_t> frame(64 * 64 * 2);
  Found found;
  const auto refuses = [&](int format, int width, int height, int stride, int32_t mode) {
    return engine.Process(frame.data(), format, width, height, stride, mode, &found) != 0;
  };
  for (int format = 0; format < 256; ++format) {
    const bool known = std::ranges::find(kFormats, format) != std::end(kFormats);
    ASSERT_TRUE(known || refuses(format, 64, 64, 64, 0)) << format;
  }
  constexpr int kLow = INT32_MIN;
  constexpr int kHigh = INT32_MAX;
  constexpr int kNoFrames[][4] = {
      {64, 64, 63, 0},       {64, 64, -64, 0},         {0, 64, 64, 0},        {64, -1, 64, 0},
      {1, 64, 64, 0},        {64, 1, 64, 0},           {65537, 48, 65537, 0}, {64, 65537, 64, 0},
      {kLow, kLow, kLow, 0}, {kHigh, kHigh, kHigh, 0}, {64, 64, 64, 1}};
  for (const auto& [width, height, stride, mode] : kNoFrames) {
    for (const int format : kFormats) {
      EXPECT_TRUE(refuses(format, width, height, stride, mode)) << width << "x" << height;
    }
  }
  for (int missing = 0; missing < 5; ++missing) {
    const auto given = [&](int i, auto* argument) { return i == missing ? nullptr : argument; };
    EXPECT_NE(library.process(given(0, engine.get()), given(1, frame.data()), 0, 64, 64, 64, 0,
                              given(2, found.mask.data()), given(3, &found.box),
                              given(4, &found.crop), 0, nullptr, 0),
              0)
        << missing;
  }
  EXPECT_EQ(found.mask, Found().mask);
  EXPECT_TRUE(SameBox(found.box, Found().box) && SameBox(found.crop, Found().crop));
  EXPECT_FALSE(refuses(0, 64, 64, 64, 0));

  void* handle = nullptr;
  int32_t size = 0;
  EXPECT_NE(library.create(nullptr, VANTRO_MODEL_DIR, nullptr, &size, &size, 0), 0);
  EXPECT_NE(library.create(&handle, VANTRO_MODEL_DIR, nullptr, nullptr, &size, 0), 0);
  EXPECT_NE(library.create(&handle, VANTRO_MODEL_DIR, nullptr, &size, nullptr, 0), 0);
  EXPECT_NE(library.create(&handle, VANTRO_MODEL_DIR, nullptr, &size, &size, 1), 0);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(size, 0);
  EXPECT_NE(library.destroy(nullptr), 0);
}

TEST(Engine, SeveralServeOnThreadsOfTheirOwn) {
  const auto watch = [](const char* name, Found* found) {
    LoadedEngine engine(VANTRO_SEG_VIDEO);
    const Picture picture = LoadMedia(name);
    for (int i = 0; i < 3; ++i) *found = engine.See(picture);
  };
  Found together[2];
  {
    std::jthread first(watch, kPortraits[0], &together[0]);
    std::jthread second(watch, kPortraits[1], &together[1]);
  }
  for (const int which : {0, 1}) {
    Found alone;
    watch(kPortraits[which], &alone);
    EXPECT_EQ(alone.mask, together[which].mask);
    EXPECT_TRUE(SameBox(alone.crop, together[which].crop));
  }
}

TEST(Engine, LooksForTheModelInItsPlacesAndNamesThem) {
  const fs::path model = fs::path(VANTRO_MODEL_DIR) / "selfie_segmentation.tflite";
  ASSERT_TRUE(fs::exists(model)) << model << " is missing: run scripts/fetch-model";
  const fs::path folder =
      fs::path(testing::TempDir()) / ("engine_test_" + std::to_string(getpid()));
  for (const char* name : {"lib", "given", "chosen", "share/vantro"}) {
    fs::create_directories(folder / name);
  }
  fs::copy(VANTRO_ENGINE_LIBRARY, folder / "lib" / "libPlimra.so");
  const EngineLibrary library((folder / "lib" / "libPlimra.so").string());
  ASSERT_EQ(setenv("VANTRO_MODEL_DIR", (folder / "chosen").c_str(), 1), 0);

  // What the engine says, in one line: that it finds no good model, or that VANTRO_MODEL_DIR has
  // none but the folder beside the library has.
  const auto create = [&] {
    void* engine = nullptr;
    int32_t side[2] = {};
    testing::internal::CaptureStderr();
    const std::string given = folder / "given";
    const int32_t result =
        library.create(&engine, given.c_str(), nullptr, &side[0], &side[1], VANTRO_SEG_VIDEO);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::ranges::count(log, '\n'), log.empty() ? 0 : 1) << log;
    EXPECT_TRUE(result != 0 || library.destroy(engine) == 0);
    return log;
  };
  const std::string missing = create();
  EXPECT_TRUE(missing.starts_with("libPlimra: ")) << missing;
  // Each place serves, and a damaged file in an earlier one is not passed over.
  for (const char* place : {"share/vantro", "chosen", "given"}) {
    EXPECT_NE(missing.find((folder / place).string()), std::string::npos) << missing;
    const fs::path copy = folder / place / model.filename();
    fs::copy(model, copy);
    const std::string chosen = "VANTRO_MODEL_DIR: [" + (folder / "chosen").string() + "] has no";
    const std::string found = create();
    EXPECT_EQ(found.find(chosen) != std::string::npos, fs::path(place) == "share/vantro") << found;
    EXPECT_EQ(found.empty(), fs::path(place) != "share/vantro") << found;
    fs::resize_file(copy, fs::file_size(model) / 2);
    EXPECT_NE(create().find((folder / place).string()), std::string::npos) << place;
  }
  unsetenv("VANTRO_MODEL_DIR");
  fs::remove_all(folder);
}

}  // namespace
}  // namespace vantro::test
