// What the effect does to the samples of a picture, whatever its size, kind and orientation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "tests/app/picture_file.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

class PhotoEffect : public ProgramTest {
 protected:
  // Renders `input` to `output`; both are names in the folder.
  TestPicture Rendered(const std::string& input, const std::string& output,
                       const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments = {Path(input), Path(output), "--overwrite"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Result result = Photo(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, "");
    said_ = result.errors;
    return ReadPicture(Path(output));
  }
  // Renders all pictures of the folder "in" in one run.
  std::map<std::string, TestPicture> RenderedFolder(const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments;
    for (const std::string& name : Files("in")) arguments.push_back(Path("in/" + name));
    arguments.insert(arguments.end(), {Path("out"), "--overwrite"});
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Result result = Photo(arguments);
    EXPECT_EQ(result.status, 0) << result.errors;
    std::map<std::string, TestPicture> pictures;
    for (const std::string& name : Files("out")) pictures[name] = ReadPicture(Path("out/" + name));
    return pictures;
  }
  std::string said_;
};

template <typename Take>
void ForEachPixel(const TestPicture& picture, const Take& take) {
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) take(x, y);
  }
}

double Luma(const uint8_t* rgb) { return 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2]; }

bool IsGrey(const uint8_t* rgb) { return rgb[0] == rgb[1] && rgb[1] == rgb[2]; }

// The colour of luma 128, which the effect leaves as it is, with this much red and blue.
void SetMiddleLuma(double red, double blue, uint8_t* rgb) {
  const double green = (128 - 0.299 * red - 0.114 * blue) / 0.587;
  const double colour[] = {red, green, blue};
  for (int c = 0; c < 3; ++c) rgb[c] = static_cast<uint8_t>(std::lround(colour[c]));
}

// Saturated colours of that luma; neighbours differ.
TestPicture MiddleLuma(int width, int height) {
  constexpr uint8_t kColours[][3] = {{255, 75, 67}, {60, 175, 62}, {96, 121, 247}, {194, 83, 186}};
  TestPicture picture(width, height, 3);
  ForEachPixel(picture, [&](int x, int y) {
    std::copy_n(kColours[(x * 5 + y * 3 + x * y) % 4], 3, picture.at(x, y));
  });
  return picture;
}

// The scripted engine's subject is an ellipse in the middle quarter of the frame.
bool FarOutside(const TestPicture& picture, int x, int y) {
  return x < picture.width / 4 - 4 || x > picture.width * 3 / 4 + 4 || y < picture.height / 4 - 4 ||
         y > picture.height * 3 / 4 + 4;
}
bool WellInside(const TestPicture& picture, int x, int y) {
  const double dx = (x + 0.5) / picture.width - 0.5;
  const double dy = (y + 0.5) / picture.height - 0.5;
  return dx * dx + dy * dy < 0.03;
}

// The subject's colours come back as they were, not averaged with their neighbours', although the
// layouts hold one colour for two or four pixels.
TEST_F(PhotoEffect, KeepsEveryPixelsColourOnTheSubject) {
  for (const auto& [width, height] : {std::pair(160, 120), {161, 121}}) {
    const TestPicture before = MiddleLuma(width, height);
    WriteTestPng(Path("in.png"), before);
    for (const char* format : {"nv21", "nv12", "uyvy"}) {
      SCOPED_TRACE(testing::Message() << format << " " << width << "x" << height);
      const TestPicture after = Rendered("in.png", "out.png", {"--format", format});
      ASSERT_EQ(std::pair(after.width, after.height), std::pair(width, height));
      int inside = 0;
      int largest_error = 0;
      int coloured_outside = 0;
      double luma_error = 0;
      ForEachPixel(before, [&](int x, int y) {
        const uint8_t* const was = before.at(x, y);
        const uint8_t* const is = after.at(x, y);
        luma_error = std::max(luma_error, std::abs(Luma(is) - Luma(was)));
        if (FarOutside(before, x, y) && !IsGrey(is)) ++coloured_outside;
        if (!WellInside(before, x, y)) return;
        ++inside;
        for (int c = 0; c < 3; ++c)
          largest_error = std::max(largest_error, std::abs(is[c] - was[c]));
      });
      EXPECT_GT(inside, 1000);
      EXPECT_LE(largest_error, 2);
      EXPECT_LT(luma_error, 1.6);
      EXPECT_EQ(coloured_outside, 0);
    }
  }
}

// No row or column is lost, and none is made of what lies beyond the picture.
TEST_F(PhotoEffect, TakesEverySize) {
  std::filesystem::create_directory(Path("in"));
  for (const auto& [width, height] :
       {std::pair(1, 1), {1, 9}, {2, 2}, {3, 2}, {5, 7}, {64, 33}, {63, 64}, {17, 130}}) {
    TestPicture before = MiddleLuma(width, height);
    WriteTestPng(Path("in/a.png"), before);
    WriteTestPng(Path("in/interlaced.png"), before, true);
    WriteTestWebp(Path("in/b.webp"), before);
    for (const auto& [h, v] : {std::pair(2, 2), {2, 1}, {1, 2}, {4, 1}, {1, 1}}) {
      before.sampling = {h, v};
      WriteTestJpeg(Path("in/" + std::to_string(h) + std::to_string(v) + ".jpg"), before, v == 1);
    }
    for (const char* format : {"nv21", "nv12", "uyvy"}) {
      auto pictures = RenderedFolder({"--format", format});
      EXPECT_EQ(pictures.size(), 8u);
      // Interlaced files are complete only after their last pass.
      EXPECT_TRUE(pictures["interlaced.png"].same_samples(pictures["a.png"]));
      for (const auto& [name, after] : pictures) {
        SCOPED_TRACE(testing::Message() << name << " " << format << " " << width << "x" << height);
        ASSERT_EQ(std::pair(after.width, after.height), std::pair(width, height));
        ASSERT_EQ(after.channels, 3);
        const TestPicture source = ReadPicture(Path("in/" + name));
        double error = 0;
        ForEachPixel(after, [&, &is = after](int x, int y) {
          // Chroma that is interpolated may leave the range of RGB, where luma is clipped.
          const double was = Luma(source.at(x, y));
          if (!IsGrey(is.at(x, y)) || std::abs(was - 128) >= 8) return;
          error = std::max(error, std::abs(is.at(x, y)[0] - was));
        });
        EXPECT_LT(error, 12);
      }
    }
  }
}

// A JPEG file keeps its chroma resolution, and what the effect leaves alone comes back all but
// unchanged.
TEST_F(PhotoEffect, KeepsTheSamplesOfJpegFiles) {
  TestPicture before(192, 144, 3);
  ForEachPixel(before, [&](int x, int y) {
    const auto wave = [](int value) { return 128 + 60 * std::sin(value / 9.0); };
    SetMiddleLuma(wave(x + y), wave(x - 2 * y), before.at(x, y));
  });
  for (const auto& sampling : {std::pair(2, 2), {2, 1}, {1, 1}, {1, 2}}) {
    for (const char* format : {"nv21", "uyvy"}) {
      SCOPED_TRACE(testing::Message() << sampling.first << "x" << sampling.second << " " << format);
      before.sampling = sampling;
      WriteTestJpeg(Path("in.jpg"), before);
      const TestPicture source = ReadPicture(Path("in.jpg"));
      const TestPicture after = Rendered("in.jpg", "out.jpg", {"--format", format});
      ASSERT_EQ(after.width, before.width);
      EXPECT_EQ(after.sampling, sampling);
      double sum = 0;
      int count = 0;
      ForEachPixel(before, [&](int x, int y) {
        if (!WellInside(before, x, y)) return;
        for (int c = 0; c < 3; ++c) sum += std::abs(after.at(x, y)[c] - source.at(x, y)[c]);
        count += 3;
      });
      EXPECT_LT(sum / count, 1.3);  // one more rounding of its coefficients
    }
  }
}

// Whatever the orientation that a file names, and the byte order in which it does. Chroma samples
// of JPEG files that cover two columns or rows stay on them when an odd side is turned round: a
// colour that rises along both axes is not shifted.
TEST_F(PhotoEffect, TurnsPicturesUpright) {
  std::filesystem::create_directory(Path("in"));
  for (const auto& [width, height] : {std::pair(96, 64), {97, 65}}) {
    TestPicture upright(width, height, 3);
    ForEachPixel(upright, [&](int x, int y) {
      SetMiddleLuma(40 + 1.5 * x, 50 + 2.0 * y, upright.at(x, y));
    });
    WriteTestPng(Path("upright.png"), upright);
    const TestPicture expected = Rendered("upright.png", "expected.png");
    for (int orientation = 1; orientation <= 8; ++orientation) {
      TestPicture stored = StoredLike(upright, orientation);
      for (const bool big_endian : {false, true}) {
        stored.exif = MakeExif({orientation, stored.width, stored.height, big_endian});
        const std::string name = Path("in/") + std::to_string(2 * orientation + big_endian);
        WriteTestPng(name + ".png", stored);
        WriteTestWebp(name + ".webp", stored);
        WriteTestJpeg(name + ".jpg", stored);
      }
    }
    const auto pictures = RenderedFolder();
    EXPECT_EQ(pictures.size(), 48u);
    for (const auto& [name, after] : pictures) {
      SCOPED_TRACE(testing::Message() << name << " " << width << "x" << height);
      ASSERT_EQ(std::pair(after.width, after.height), std::pair(width, height));
      if (!name.ends_with(".jpg")) {
        EXPECT_TRUE(after.same_samples(expected));
        continue;
      }
      double red = 0;
      double blue = 0;
      int count = 0;
      ForEachPixel(upright, [&, &is = after](int x, int y) {
        if (!WellInside(upright, x, y)) return;
        red += is.at(x, y)[0] - expected.at(x, y)[0];
        blue += is.at(x, y)[2] - expected.at(x, y)[2];
        ++count;
      });
      EXPECT_LT(std::abs(red / count), 1.0);
      EXPECT_LT(std::abs(blue / count), 1.0);
    }
  }
}

TEST_F(PhotoEffect, KeepsGreyPicturesGrey) {
  TestPicture grey(40, 31, 1);
  for (size_t i = 0; i < grey.samples.size(); ++i) grey.samples[i] = static_cast<uint8_t>(i * 7);
  WriteTestPng(Path("in.png"), grey);
  WriteTestJpeg(Path("in.jpg"), grey);
  EXPECT_EQ(Rendered("in.jpg", "out.jpg").channels, 1);
  const TestPicture after = Rendered("in.png", "out.png");
  ASSERT_EQ(after.channels, 1);
  // Samples of the contrast curve.
  const std::map<int, int> curve = {{0, 0}, {25, 5}, {128, 128}, {230, 250}, {255, 255}};
  for (size_t i = 0; i < grey.samples.size(); ++i) {
    const auto known = curve.find(grey.samples[i]);
    EXPECT_TRUE(known == curve.end() || after.samples[i] == known->second) << i;
  }
}

TEST_F(PhotoEffect, KeepsTransparency) {
  const TestPicture colours = MiddleLuma(48, 37);
  TestPicture before(48, 37, 4);
  ForEachPixel(before, [&](int x, int y) {
    std::copy_n(colours.at(x, y), 3, before.at(x, y));
    before.at(x, y)[3] = static_cast<uint8_t>(x < 8 ? 0 : 200 + x);
  });
  WriteTestPng(Path("in.png"), before);
  for (const char* output : {"out.png", "out.webp"}) {
    const TestPicture after = Rendered("in.png", output);
    ASSERT_EQ(after.channels, 4) << output;
    int changed = 0;
    ForEachPixel(before, [&](int x, int y) { changed += after.at(x, y)[3] != before.at(x, y)[3]; });
    EXPECT_EQ(changed, 0) << output;
  }
  // JPEG files hold none: the picture is seen on white.
  const TestPicture flat = Rendered("in.png", "out.jpg");
  EXPECT_NE(said_.find("transparency"), std::string::npos) << said_;
  ASSERT_EQ(flat.channels, 3);
  EXPECT_GT(flat.at(2, 20)[0], 240);
  EXPECT_LT(flat.at(14, 2)[0], 190);
}

TEST_F(PhotoEffect, ShowsBeforeBesideAfter) {
  for (const int width : {80, 81}) {
    const TestPicture before = MiddleLuma(width, 60);
    WriteTestPng(Path("in.png"), before);
    WriteTestJpeg(Path("in.jpg"), before);
    const TestPicture after = Rendered("in.png", "after.png");
    const TestPicture both = Rendered("in.png", "both.png", {"--compare"});
    ASSERT_EQ(std::pair(both.width, both.height), std::pair(2 * width, 60));
    int left_error = 0;
    int right_error = 0;
    ForEachPixel(before, [&](int x, int y) {
      for (int c = 0; c < 3; ++c) {
        left_error = std::max(left_error, std::abs(both.at(x, y)[c] - before.at(x, y)[c]));
        right_error += both.at(width + x, y)[c] != after.at(x, y)[c];
      }
    });
    EXPECT_LE(left_error, 2);
    EXPECT_EQ(right_error, 0);
    EXPECT_EQ(Rendered("in.jpg", "both.jpg", {"--compare"}).width, 2 * width);
  }
}

// The mask is the engine's own: its size, its ellipse.
TEST_F(PhotoEffect, WritesTheEnginesMask) {
  WriteTestPng(Path("in.png"), MiddleLuma(80, 60));
  Rendered("in.png", "out.png", {"--mask-out", Path("mask.png")});
  const TestPicture mask = ReadPicture(Path("mask.png"));
  ASSERT_EQ(std::pair(mask.width, mask.height), std::pair(64, 48));
  ASSERT_EQ(mask.channels, 1);
  ForEachPixel(mask, [&](int x, int y) {
    const double dx = (x + 0.5) / 64 - 0.5;
    const double dy = (y + 0.5) / 48 - 0.5;
    EXPECT_EQ(*mask.at(x, y), dx * dx + dy * dy < 0.2 ? 255 : 0) << x << " " << y;
  });
}

}  // namespace
}  // namespace vantro::test
