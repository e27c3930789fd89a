// Colour profile and Exif data go with the picture, from any kind of file to any other.
#include <gtest/gtest.h>
#include <libheif/heif.h>

#include <cstdlib>

#include "tests/app/picture_file.h"

namespace vantro::test {
namespace {

class PhotoMetadata : public PhotoTest {};

// What is left of the block of a picture that was turned upright.
Bytes UprightExif(int width, int height, bool big_endian = false) {
  return MakeExif({1, width, height, big_endian, false});
}

TEST_F(PhotoMetadata, GoesFromAnyKindToAnyOther) {
  // Stored lying: the sizes in the block are those of the stored picture.
  Picture stored = NoisePicture(40, 60);
  stored.icc = MakeProfile(150000);  // longer than one JPEG marker holds
  stored.exif = MakeExif({.orientation = 6, .width = 40, .height = 60});
  WriteTestJpeg(Path("in.jpg"), stored);
  WriteTestPng(Path("in.png"), stored);
  WriteTestWebp(Path("in.webp"), stored);
  for (const std::string from : {"in.jpg", "in.png", "in.webp"}) {
    for (const std::string to : {"out.jpeg", "out.png", "out.webp"}) {
      SCOPED_TRACE(from + " to " + to);
      const Picture after = Rendered(from, to);
      EXPECT_EQ(after.width, 60);
      EXPECT_TRUE(after.icc == stored.icc);
      // The thumbnail would show the picture as it was.
      EXPECT_EQ(after.exif, UprightExif(60, 40));
    }
  }
  // The size is that of the file, be it a comparison.
  EXPECT_EQ(Rendered("in.png", "both.jpg", {"--compare"}).exif, UprightExif(120, 40));
}

TEST_F(PhotoMetadata, KeepsOnlyProfilesThatFit) {
  // A PNG file may say what its colours mean without a profile.
  Picture grey = NoisePicture(20, 20, 1, 1);
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
  Picture wrong = NoisePicture(20, 20);
  wrong.icc = grey.icc;
  WriteTestJpeg(Path("wrong.jpg"), wrong);
  EXPECT_TRUE(Rendered("wrong.jpg", "out.png").icc.empty());
  EXPECT_NE(said_.find("wrong.jpg: its colour profile"), std::string::npos) << said_;
}

// sample.heic holds the gradient below, MakeProfile(600) and the block of a lying picture. The
// container itself says how such a picture lies; libheif has turned it already, whatever the Exif
// data repeat.
TEST_F(PhotoMetadata, ComesOutOfHeicFiles) {
  if (heif_have_decoder_for_format(heif_compression_HEVC) == 0) {
    GTEST_SKIP() << "libheif has no HEVC decoder here";
  }
  WriteFile(Path("in.heic"), ReadFile(VANTRO_SAMPLE_HEIC));
  // The program writes none.
  ExpectSuccess(Photo({Path("in.heic"), Path("out/")}));
  EXPECT_EQ(Files("out"), std::vector<std::string>{"in.jpg"});
  const Picture both = Rendered("in.heic", "both.png", {"--compare"});
  ASSERT_EQ(both.size(), std::pair(192, 64));
  EXPECT_EQ(both.icc, MakeProfile(600));
  EXPECT_EQ(both.exif, UprightExif(192, 64, true));
  double error = 0;
  for (int y = 0; y < 64; ++y) {
    for (int i = 0; i < 96 * 3; ++i) {
      const int x = i / 3;
      const int c = i % 3;
      error += std::abs(both.at(0, y)[i] - (60 + (x * (c + 1) + y * (3 - c)) % 130));
    }
  }
  EXPECT_LT(error / (96 * 64 * 3), 6);
}

}  // namespace
}  // namespace vantro::test
