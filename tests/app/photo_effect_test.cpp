// What the effect does to the samples of a picture, whatever its size, kind and orientation.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "tests/app/picture_file.h"

namespace vantro::test {
namespace {

class PhotoEffect : public PhotoTest {
 protected:
  // Renders all pictures of the folder "in" in one run.
  std::map<std::string, Picture> RenderedFolder(const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments;
    for (const std::string& name : Files("in")) arguments.push_back(Path("in/" + name));
    arguments.insert(arguments.end(), {Path("out"), "--overwrite"});
    arguments.insert(arguments.end(), options.begin(), options.end());
    ExpectSuccess(Photo(arguments));
    std::map<std::string, Picture> pictures;
    for (const std::string& name : Files("out")) pictures[name] = ReadPhoto(Path("out/" + name));
    return pictures;
  }
};

// Up to the first row with a failed assertion.
template <typename Take>
void ForEachPixel(const Picture& picture, const Take& take) {
  for (int y = 0; y < picture.height && !testing::Test::HasFatalFailure(); ++y) {
    for (int x = 0; x < picture.width; ++x) take(x, y);
  }
}

double Luma(const uint8_t* rgb) { return 0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2]; }

bool IsGrey(const uint8_t* rgb) { return rgb[0] == rgb[1] && rgb[1] == rgb[2]; }

// The colour of luma 128, which the effect leaves as it is, with this much red and blue.
void SetMiddleLuma(double red, double blue, uint8_t* rgb) {
  const double colour[] = {red, (128 - 0.299 * red - 0.114 * blue) / 0.587, blue};
  for (int c = 0; c < 3; ++c) rgb[c] = static_cast<uint8_t>(std::lround(colour[c]));
}

// Saturated colours of that luma; neighbours differ.
Picture MiddleLuma(int width, int height) {
  constexpr uint8_t kColours[][3] = {{255, 75, 67}, {60, 175, 62}, {96, 121, 247}, {194, 83, 186}};
  Picture picture(width, height);
  ForEachPixel(picture, [&](int x, int y) {
    std::copy_n(kColours[(x * 5 + y * 3 + x * y) % 4], 3, picture.at(x, y));
  });
  return picture;
}

// How far a place is from the middle. The scripted engine's subject is an ellipse in the middle
// half of the frame's width and height.
double Distance(const Picture& picture, int x, int y) {
  return std::hypot((x + 0.5) / picture.width - 0.5, (y + 0.5) / picture.height - 0.5);
}

// On the subject, all around within a sixth of the size.
struct Difference {
  int pixels = 0;
  int largest = 0;
  double mean = 0;
  double shift[3] = {};  // the mean with its sign, of each channel
};
Difference DifferenceOnSubject(const Picture& is, const Picture& was) {
  Difference result;
  ForEachPixel(was, [&](int x, int y) {
    if (Distance(was, x, y) > 1.0 / 6) return;
    ++result.pixels;
    for (int c = 0; c < 3; ++c) {
      const int difference = is.at(x, y)[c] - was.at(x, y)[c];
      result.largest = std::max(result.largest, std::abs(difference));
      result.mean += std::abs(difference);
      result.shift[c] += difference;
    }
  });
  result.mean /= 3 * result.pixels;
  for (double& shift : result.shift) shift /= result.pixels;
  return result;
}

// No row or column is lost, and none is made of what lies beyond the picture. The subject's colours
// come back as they were, not averaged with their neighbours', although the layouts hold one colour
// for two or four pixels.
TEST_F(PhotoEffect, KeepsThePixelsOfEverySize) {
  std::filesystem::create_directory(Path("in"));
  for (const auto& [width, height] : {std::pair(1, 1),
                                      {1, 9},
                                      {2, 2},
                                      {3, 2},
                                      {5, 7},
                                      {64, 33},
                                      {63, 64},
                                      {17, 130},
                                      {160, 120},
                                      {161, 121}}) {
    Picture before = MiddleLuma(width, height);
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
      EXPECT_EQ(pictures["interlaced.png"].samples, pictures["a.png"].samples);
      for (const auto& [name, after] : pictures) {
        SCOPED_TRACE(testing::Message() << name << " " << format << " " << width << "x" << height);
        ASSERT_EQ(after.size(), before.size());
        ASSERT_EQ(after.channels, 3);
        const bool jpeg = name.ends_with(".jpg");
        const Picture source = ReadPhoto(Path("in/" + name));
        ForEachPixel(after, [&, &is = after](int x, int y) {
          const uint8_t* const rgb = is.at(x, y);
          const double was = Luma(source.at(x, y));
          if (jpeg) {
            // Chroma that is interpolated may leave the range of RGB, where luma is clipped.
            const bool clipped = !IsGrey(rgb) || std::abs(was - 128) >= 8;
            ASSERT_NEAR(rgb[0], clipped ? rgb[0] : was, 12);
            return;
          }
          ASSERT_NEAR(Luma(rgb), was, 1.6);
          const bool outside = std::abs(2 * x + 1 - is.width) > is.width / 2 + 8 ||
                               std::abs(2 * y + 1 - is.height) > is.height / 2 + 8;
          ASSERT_TRUE(IsGrey(rgb) || !outside) << x << ", " << y;
        });
        if (jpeg || width < 160) continue;
        const Difference difference = DifferenceOnSubject(after, before);
        EXPECT_GT(difference.pixels, 1000);
        EXPECT_LE(difference.largest, 2);
      }
    }
  }
}

// A JPEG file keeps its chroma resolution, and what the effect leaves alone comes back all but
// unchanged.
TEST_F(PhotoEffect, KeepsTheSamplesOfJpegFiles) {
  Picture before(192, 144);
  ForEachPixel(before, [&](int x, int y) {
    const auto wave = [](int value) { return 128 + 60 * std::sin(value / 9.0); };
    SetMiddleLuma(wave(x + y), wave(x - 2 * y), before.at(x, y));
  });
  for (const auto& sampling : {std::pair(2, 2), {2, 1}, {1, 1}, {1, 2}}) {
    before.sampling = sampling;
    WriteTestJpeg(Path("in.jpg"), before);
    const Picture source = ReadPhoto(Path("in.jpg"));
    for (const char* format : {"nv21", "uyvy"}) {
      SCOPED_TRACE(testing::Message() << sampling.first << "x" << sampling.second << " " << format);
      const Picture after = Rendered("in.jpg", "out.jpg", {"--format", format});
      ASSERT_EQ(after.size(), before.size());
      EXPECT_EQ(after.sampling, sampling);
      EXPECT_LT(DifferenceOnSubject(after, source).mean, 1.3);  // one more rounding of coefficients
    }
  }
}

// Whatever the orientation that a file names, and the byte order in which it does. Chroma samples
// of JPEG files that cover two columns or rows stay on them when an odd side is turned round: a
// colour that rises along both axes is not shifted.
TEST_F(PhotoEffect, TurnsPicturesUpright) {
  std::filesystem::create_directory(Path("in"));
  for (const auto& [width, height] : {std::pair(96, 64), {97, 65}}) {
    Picture upright(width, height);
    ForEachPixel(upright, [&](int x, int y) {
      SetMiddleLuma(40 + 1.5 * x, 50 + 2.0 * y, upright.at(x, y));
    });
    WriteTestPng(Path("upright.png"), upright);
    const Picture expected = Rendered("upright.png", "expected.png");
    for (int orientation = 1; orientation <= 8; ++orientation) {
      Picture stored = StoredLike(upright, orientation);
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
      ASSERT_EQ(after.size(), upright.size());
      if (name.ends_with(".jpg")) {
        const Difference difference = DifferenceOnSubject(after, expected);
        EXPECT_NEAR(difference.shift[0], 0, 1);
        EXPECT_NEAR(difference.shift[2], 0, 1);
      } else {
        EXPECT_EQ(after.samples, expected.samples);
      }
    }
  }
}

TEST_F(PhotoEffect, KeepsGreyPicturesGrey) {
  Picture grey(40, 31, 1);
  constexpr uint8_t kBefore[] = {0, 25, 128, 230, 255};
  constexpr uint8_t kAfter[] = {0, 5, 128, 250, 255};  // on the contrast curve
  for (size_t i = 0; i < grey.samples.size(); ++i) grey.samples[i] = kBefore[i % 5];
  WriteTestPng(Path("in.png"), grey);
  WriteTestJpeg(Path("in.jpg"), grey);
  EXPECT_EQ(Rendered("in.jpg", "out.jpg").channels, 1);
  for (size_t i = 0; i < grey.samples.size(); ++i) grey.samples[i] = kAfter[i % 5];
  EXPECT_EQ(Rendered("in.png", "out.png").samples, grey.samples);
}

TEST_F(PhotoEffect, KeepsTransparency) {
  const Picture colours = MiddleLuma(48, 37);
  Picture before(48, 37, 4);
  ForEachPixel(before, [&](int x, int y) {
    std::copy_n(colours.at(x, y), 3, before.at(x, y));
    before.at(x, y)[3] = static_cast<uint8_t>(x < 8 ? 0 : 200 + x);
  });
  WriteTestPng(Path("in.png"), before);
  for (const char* output : {"out.png", "out.webp"}) {
    const Picture after = Rendered("in.png", output);
    ASSERT_EQ(after.channels, 4) << output;
    ForEachPixel(before,
                 [&](int x, int y) { ASSERT_EQ(after.at(x, y)[3], before.at(x, y)[3]) << output; });
  }
  // JPEG files hold none: the picture is seen on white.
  const Picture flat = Rendered("in.png", "out.jpg");
  EXPECT_NE(said_.find("transparency"), std::string::npos) << said_;
  ASSERT_EQ(flat.channels, 3);
  EXPECT_GT(flat.at(2, 20)[0], 240);
  EXPECT_LT(flat.at(14, 2)[0], 190);
}

TEST_F(PhotoEffect, ShowsBeforeBesideAfter) {
  for (const int width : {80, 81}) {
    const Picture before = MiddleLuma(width, 60);
    WriteTestPng(Path("in.png"), before);
    WriteTestJpeg(Path("in.jpg"), before);
    const Picture after = Rendered("in.png", "after.png");
    const Picture both = Rendered("in.png", "both.png", {"--compare"});
    ASSERT_EQ(both.size(), std::pair(2 * width, 60));
    ForEachPixel(before, [&](int x, int y) {
      for (int c = 0; c < 3; ++c) {
        ASSERT_NEAR(both.at(x, y)[c], before.at(x, y)[c], 2);
        ASSERT_EQ(both.at(width + x, y)[c], after.at(x, y)[c]);
      }
    });
    EXPECT_EQ(Rendered("in.jpg", "both.jpg", {"--compare"}).width, 2 * width);
  }
}

}  // namespace
}  // namespace vantro::test
