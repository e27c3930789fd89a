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
#include "tests/engine/masks.h"
#include "tests/engine/picture.h"
#include "tests/support/guarded_buffer.h"

namespace vantro::test {
namespace {

namespace fs = std::filesystem;

constexpr int kFormats[] = {VANTRO_FORMAT_NV21, VANTRO_FORMAT_NV12, VANTRO_FORMAT_UYVY};

const char* const kPortraits[] = {"astronaut.png", "grace_hopper_512x512.jpg"};

// A portrait over the whole width of a frame of 256x256: what OnFrame gives for it is compared
// with the reference sample by sample.
std::vector<uint8_t> OnPortrait(const Found& found, const Picture& picture) {
  const std::vector<uint8_t> person = OnFrame(found, picture.width, picture.height);
  std::vector<uint8_t> reduced;
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x) {
      const int row = (2 * y + 1) * picture.height / 512;
      const int column = (2 * x + 1) * picture.width / 512;
      reduced.push_back(person[static_cast<size_t>(row * picture.width + column)]);
    }
  }
  return reduced;
}

TEST(Engine, FindsTheSamplePortraits) {
  const EngineLibrary library;
  for (const char* name : kPortraits) {
    const Picture picture = LoadMedia(name);
    const std::vector<uint8_t> reference = LoadReferenceMask(name);
    for (const int32_t mode : {VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO}) {
      LoadedEngine engine(library, mode);
      for (const int format : kFormats) {
        const Found found = engine.See(picture, VANTRO_SEG_VIDEO, format);
        EXPECT_GE(Overlap(OnPortrait(found, picture), reference), 0.97)
            << name << ", format " << format << ", engine of mode " << mode;
        EXPECT_EQ(found.box.box_mode, 2);
        EXPECT_EQ(found.crop.box_mode, 2);
      }
      EXPECT_GE(Overlap(OnPortrait(engine.SeePhoto(picture), picture), reference), 0.97) << name;
    }
  }
}

TEST(Engine, FindsTheSameInEveryFormatSizeAndStride) {
  const EngineLibrary library;
  LoadedEngine engine(library, VANTRO_SEG_PHOTO);
  const Picture portrait = LoadMedia("grace_hopper_512x512.jpg");
  const std::vector<uint8_t> reference = LoadReferenceMask("grace_hopper_512x512.jpg");
  for (const int format : kFormats) {
    for (const auto& [width, height, padding] :
         {std::tuple{1920, 1920, 0}, {1081, 1083, 17}, {300, 300, 1}, {3000, 3000, 72}}) {
      const Picture picture = Scale(portrait, width, height);
      const int stride = width + padding;
      const std::vector<uint8_t> bytes = ToFrame(picture, format, stride);
      // The frame ends where its description does, and is not written.
      GuardedBuffer frame(bytes.size());
      std::copy(bytes.begin(), bytes.end(), frame.data());
      frame.set_read_only(true);
      Found found;
      ASSERT_EQ(engine.Process(frame.data(), format, width, height, stride, 0, &found), 0);
      EXPECT_GE(Overlap(OnPortrait(found, picture), reference), 0.97)
          << "format " << format << ", " << width << "x" << height;
    }
  }
}

// A portrait in a corner of a wide frame. The background continues the portrait's edge.
Picture InWideFrame(const Picture& portrait, int width, int height, int left, int top) {
  Picture wide(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int px = std::clamp(x - left, 0, portrait.width - 1);
      const int py = std::clamp(y - top, 0, portrait.height - 1);
      const bool inside = px == x - left && py == y - top;
      std::copy_n(portrait.at(inside ? px : portrait.width - 1, inside ? py : 0), 3, wide.at(x, y));
    }
  }
  return wide;
}

TEST(Engine, SecondPassRefinesASmallPerson) {
  const EngineLibrary library;
  const Picture portrait = Scale(LoadMedia("grace_hopper_512x512.jpg"), 420, 420);
  const Picture wide = InWideFrame(portrait, 1600, 900, 780, 480);
  const std::vector<uint8_t> small = LoadReferenceMask("grace_hopper_512x512.jpg");
  std::vector<uint8_t> reference(1600 * 900, 0);
  for (int y = 480; y < 900; ++y) {
    for (int x = 780; x < 1200; ++x) {
      reference[static_cast<size_t>(y * 1600 + x)] =
          small[static_cast<size_t>((y - 480) * 256 / 420 * 256 + (x - 780) * 256 / 420)];
    }
  }
  LoadedEngine engine(library, VANTRO_SEG_PHOTO);
  const double first = Overlap(OnFrame(engine.See(wide, VANTRO_SEG_VIDEO), 1600, 900), reference);
  const double both = Overlap(OnFrame(engine.SeePhoto(wide), 1600, 900), reference);
  const double alone = Overlap(OnFrame(engine.See(wide, VANTRO_SEG_PHOTO), 1600, 900), reference);
  EXPECT_GT(first, 0.6);
  EXPECT_GT(both, first + 0.02);
  EXPECT_GT(both, 0.93);
  EXPECT_EQ(alone, both);  // the second pass makes up for a missing first one
}

TEST(Engine, NobodyIsAnEmptyMaskAndTheWholeFrame) {
  const EngineLibrary library;
  for (const int32_t mode : {VANTRO_SEG_VIDEO, VANTRO_SEG_PHOTO}) {
    LoadedEngine engine(library, mode);
    engine.See(LoadMedia("astronaut.png"));  // somebody was there before
    Picture slope(642, 481);
    for (size_t i = 0; i < slope.rgb.size(); ++i) slope.rgb[i] = static_cast<uint8_t>(i / 7000);
    for (const Found& found : {engine.See(slope), engine.SeePhoto(slope)}) {
      EXPECT_EQ(std::count(found.mask.begin(), found.mask.end(), 0), 256 * 256);
      for (const CROP_BOX& box : {found.box, found.crop}) {
        EXPECT_EQ(box.crop_top, 0);
        EXPECT_EQ(box.crop_bottom, 480);
        EXPECT_EQ(box.crop_left, 0);
        EXPECT_EQ(box.crop_right, 641);
        EXPECT_EQ(box.box_mode, 2);
      }
    }
  }
}

TEST(Engine, RefusesBadArgumentsAndWritesNothing) {
  const EngineLibrary library;
  LoadedEngine engine(library, VANTRO_SEG_VIDEO);
  std::vector<uint8_t> frame(64 * 64 * 2);
  const auto refused = [&](int format, int width, int height, int stride, int32_t mode) {
    Found found;
    return engine.Process(frame.data(), format, width, height, stride, mode, &found) != 0 &&
           found.untouched();
  };
  for (int format = 0; format < 256; ++format) {
    if (format == 0 || format == 1 || format == 4) continue;
    ASSERT_TRUE(refused(format, 64, 64, 64, 0)) << format;
  }
  constexpr struct {
    int width, height, stride;
  } kNoFrames[] = {{64, 64, 63},
                   {64, 64, -64},
                   {0, 64, 64},
                   {64, -1, 64},
                   {1, 64, 64},
                   {64, 1, 64},
                   {32768, 48, 32768},
                   {64, 32768, 64},
                   {INT32_MIN, INT32_MIN, INT32_MIN},
                   {INT32_MAX, INT32_MAX, INT32_MAX}};
  for (const auto& [width, height, stride] : kNoFrames) {
    for (const int format : kFormats) {
      EXPECT_TRUE(refused(format, width, height, stride, 0)) << width << "x" << height;
    }
  }
  EXPECT_TRUE(refused(0, 64, 64, 64, 1));
  EXPECT_FALSE(refused(0, 64, 64, 64, 0));

  Found found;
  EXPECT_NE(engine.Process(nullptr, 0, 64, 64, 64, 0, &found), 0);
  EXPECT_TRUE(found.untouched());
  uint8_t* mask = found.mask.data();
  const auto process = [&](void* handle, uint8_t* mask_out, CROP_BOX* box, CROP_BOX* crop) {
    return library.process(handle, frame.data(), 0, 64, 64, 64, 0, mask_out, box, crop, 0, nullptr,
                           0);
  };
  EXPECT_NE(process(nullptr, mask, &found.box, &found.crop), 0);
  EXPECT_NE(process(engine.get(), nullptr, &found.box, &found.crop), 0);
  EXPECT_NE(process(engine.get(), mask, nullptr, &found.crop), 0);
  EXPECT_NE(process(engine.get(), mask, &found.box, nullptr), 0);
  EXPECT_TRUE(found.untouched());

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
  const EngineLibrary library;
  LoadedEngine engines[] = {{library, VANTRO_SEG_VIDEO}, {library, VANTRO_SEG_VIDEO}};
  Found alone[2];
  Found together[2];
  const auto watch = [&](LoadedEngine& engine, int which, Found* found) {
    const Picture picture = LoadMedia(kPortraits[which]);
    for (int i = 0; i < 3; ++i) *found = engine.See(picture);
  };
  {
    std::thread first(watch, std::ref(engines[0]), 0, &together[0]);
    std::thread second(watch, std::ref(engines[1]), 1, &together[1]);
    first.join();
    second.join();
  }
  for (int which : {0, 1}) {
    LoadedEngine engine(library, VANTRO_SEG_VIDEO);
    watch(engine, which, &alone[which]);
    EXPECT_EQ(alone[which].mask, together[which].mask);
    EXPECT_EQ(alone[which].crop.crop_left, together[which].crop.crop_left);
  }
}

// A folder that disappears with the test.
struct TemporaryFolder {
  fs::path path = fs::path(testing::TempDir()) / ("engine_test_" + std::to_string(getpid()));
  TemporaryFolder() { fs::create_directories(path); }
  ~TemporaryFolder() { fs::remove_all(path); }
};

TEST(Engine, LooksForTheModelInItsPlacesAndNamesThem) {
  const fs::path model = fs::path(VANTRO_MODEL_DIR) / "selfie_segmentation.tflite";
  ASSERT_TRUE(fs::exists(model)) << model << " is missing: run scripts/fetch-model";
  const TemporaryFolder folder;
  for (const char* name : {"lib", "given", "chosen", "share/vantro"}) {
    fs::create_directories(folder.path / name);
  }
  const fs::path library_file = folder.path / "lib" / "libPlimra.so";
  fs::copy(VANTRO_ENGINE_LIBRARY, library_file);
  const EngineLibrary library(library_file.string());
  ASSERT_EQ(setenv("VANTRO_MODEL_DIR", (folder.path / "chosen").c_str(), 1), 0);

  const auto create = [&](std::string* log) {
    void* engine = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    testing::internal::CaptureStderr();
    const int32_t result =
        library.create(&engine, (folder.path / "given").c_str(), nullptr, &width, &height, 0);
    *log = testing::internal::GetCapturedStderr();
    if (result == 0) {
      EXPECT_EQ(library.destroy(engine), 0);
    }
    return result;
  };
  std::string log;
  EXPECT_NE(create(&log), 0);
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
  EXPECT_TRUE(log.starts_with("libPlimra: ")) << log;
  for (const char* place : {"given", "chosen", "share/vantro"}) {
    EXPECT_NE(log.find((folder.path / place).string()), std::string::npos) << log;
  }

  // Each place serves, and a damaged file in an earlier one is not passed over.
  for (const char* place : {"share/vantro", "chosen", "given"}) {
    const fs::path copy = folder.path / place / model.filename();
    fs::copy(model, copy);
    EXPECT_EQ(create(&log), 0) << place;
    EXPECT_EQ(log, "");
    fs::resize_file(copy, fs::file_size(model) / 2);
    EXPECT_NE(create(&log), 0) << place;
    EXPECT_NE(log.find((folder.path / place).string()), std::string::npos) << log;
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
  }
  unsetenv("VANTRO_MODEL_DIR");
}

}  // namespace
}  // namespace vantro::test
