// Colour profile and Exif data go with the picture, from any kind of file to any other.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/app/picture_file.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

class PhotoMetadata : public ProgramTest {
 protected:
  TestPicture Rendered(const std::string& input, const std::string& output,
                       const std::string& option = "--overwrite") {
    const Result result = Photo({Path(input), Path(output), option});
    EXPECT_EQ(result.status, 0) << result.errors;
    said_ = result.errors;
    return ReadPicture(Path(output));
  }
  std::string said_;
};

TestPicture Gradient(int width, int height, int channels = 3) {
  TestPicture picture(width, height, channels);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < channels; ++c) {
        picture.at(x, y)[c] = static_cast<uint8_t>(60 + (x * (c + 1) + y * (3 - c)) % 130);
      }
    }
  }
  return picture;
}

TEST_F(PhotoMetadata, GoesFromAnyKindToAnyOther) {
  // Stored lying: the sizes in the block are those of the stored picture.
  const ExifContent content = {.orientation = 6, .width = 40, .height = 60};
  TestPicture stored = Gradient(40, 60);
  stored.icc = MakeProfile(150000);  // longer than one JPEG marker holds
  stored.exif = MakeExif(content);
  WriteTestJpeg(Path("in.jpg"), stored);
  WriteTestPng(Path("in.png"), stored);
  WriteTestWebp(Path("in.webp"), stored);
  for (const std::string from : {"in.jpg", "in.png", "in.webp"}) {
    for (const std::string to : {"out.jpeg", "out.png", "out.webp"}) {
      SCOPED_TRACE(from + " to " + to);
      const TestPicture after = Rendered(from, to);
      EXPECT_EQ(after.width, 60);
      EXPECT_TRUE(after.icc == stored.icc);
      // The thumbnail would show the picture as it was.
      EXPECT_EQ(after.exif, UprightExif(content, 60, 40));
    }
  }
  // The size is that of the file, be it a comparison.
  EXPECT_EQ(Rendered("in.png", "both.jpg", "--compare").exif, UprightExif(content, 120, 40));
}

TEST_F(PhotoMetadata, KeepsOnlyProfilesThatFit) {
  // A PNG file may say what its colours mean without a profile.
  TestPicture grey = Gradient(20, 20, 1);
  grey.gamma = 45455;
  WriteTestPng(Path("gamma.png"), grey);
  EXPECT_EQ(Rendered("gamma.png", "out.png").gamma, 45455);
  // A profile for grey pictures stays with grey files, but WebP files are always in colour.
  grey.icc = MakeProfile(600, true);
  WriteTestPng(Path("grey.png"), grey);
  EXPECT_TRUE(Rendered("grey.png", "out.jpg").icc == grey.icc);
  EXPECT_TRUE(Rendered("grey.png", "out.webp").icc.empty());
  EXPECT_NE(said_.find("profile"), std::string::npos) << said_;
  // On a picture in colour it is wrong.
  TestPicture wrong = Gradient(20, 20);
  wrong.icc = grey.icc;
  WriteTestJpeg(Path("wrong.jpg"), wrong);
  EXPECT_TRUE(Rendered("wrong.jpg", "out.png").icc.empty());
  EXPECT_NE(said_.find("wrong.jpg: its colour profile"), std::string::npos) << said_;
}

// The container itself says how such a picture lies; libheif has turned it already, whatever the
// Exif data repeat.
TEST_F(PhotoMetadata, ComesOutOfHeicFiles) {
  const ExifContent content = {.orientation = 6, .width = 96, .height = 64, .big_endian = true};
  TestPicture original = Gradient(96, 64);
  original.icc = MakeProfile(600);
  original.exif = MakeExif(content);
  if (!WriteTestHeic(Path("in.heic"), original)) {
    GTEST_SKIP() << "libheif has no HEVC encoder here";
  }
  const TestPicture both = Rendered("in.heic", "both.png", "--compare");
  ASSERT_EQ(both.width, 192);
  ASSERT_EQ(both.height, 64);
  EXPECT_TRUE(both.icc == original.icc);
  EXPECT_EQ(both.exif, UprightExif(content, 192, 64));
  double sum = 0;
  for (int y = 0; y < 64; ++y) {
    for (int i = 0; i < 96 * 3; ++i) sum += std::abs(both.at(0, y)[i] - original.at(0, y)[i]);
  }
  EXPECT_LT(sum / (96 * 64 * 3), 6);
}

}  // namespace
}  // namespace vantro::test
