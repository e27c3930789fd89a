// Colour profile and Exif data go with the picture, from any kind of file to any other.
#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/app/picture_file.h"
#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

class PhotoMetadata : public ProgramTest {};

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
  const std::string note("maker's private\0bytes", 21);
  // Longer than one JPEG marker holds.
  Bytes profile = MakeProfile();
  profile.resize(150000);
  for (size_t i = 0; i < 3; ++i) {
    profile[1 + i] = static_cast<uint8_t>(profile.size() >> (8 * (2 - i)));
  }
  // Stored lying: the sizes in the block are those of the stored picture.
  const PictureExtras extras = {profile, MakeExif({6, 40, 60, note, "THUMBNAIL"}, false)};
  const TestPicture stored = Gradient(40, 60);
  WriteTestJpeg(Path("in.jpg"), stored, {}, extras);
  WriteTestPng(Path("in.png"), stored, extras);
  WriteTestWebp(Path("in.webp"), stored, extras);
  for (const std::string from : {"jpg", "png", "webp"}) {
    for (const std::string to : {"jpeg", "png", "webp"}) {
      SCOPED_TRACE(from + " to " + to);
      const std::string out = Path("out." + to);
      const Result result = Photo({Path("in." + from), out, "--overwrite"});
      ASSERT_EQ(result.status, 0) << result.errors;
      EXPECT_EQ(ReadPicture(out).width, 60);
      const PictureExtras kept = ReadExtras(out);
      EXPECT_TRUE(kept.icc == profile);
      const ExifContent exif = ParseExif(kept.exif);
      EXPECT_EQ(exif.orientation, 1);
      EXPECT_EQ(exif.width, 60);
      EXPECT_EQ(exif.height, 40);
      EXPECT_EQ(exif.note, note);
      // It would show the picture as it was.
      EXPECT_EQ(exif.thumbnail, "");
      EXPECT_EQ(ReadFile(out).find("THUMBNAIL"), std::string::npos);
    }
  }
}

// A PNG file may say what its colours mean without a profile.
TEST_F(PhotoMetadata, KeepsTheGammaOfPngFiles) {
  const std::string name_and_value("gAMA\0\0\xB1\x8F", 8);
  const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(name_and_value.data()), 8);
  std::string chunk("\0\0\0\4", 4);
  chunk += name_and_value;
  for (int shift = 24; shift >= 0; shift -= 8) chunk += static_cast<char>(crc >> shift);
  WriteTestPng(Path("in.png"), Gradient(20, 20));
  std::string file = ReadFile(Path("in.png"));
  file.insert(8 + 25, chunk);  // behind the signature and the header
  WriteFile(Path("in.png"), file);
  ASSERT_EQ(Photo({Path("in.png"), Path("out.png")}).status, 0);
  EXPECT_NE(ReadFile(Path("out.png")).find(chunk), std::string::npos);
}

TEST_F(PhotoMetadata, TellsTheSizeOfAComparison) {
  WriteTestPng(Path("in.png"), Gradient(40, 60), {{}, MakeExif({1, 40, 60, "n", "t"}, true)});
  ASSERT_EQ(Photo({Path("in.png"), Path("out.jpg"), "--compare"}).status, 0);
  EXPECT_EQ(ParseExif(ReadExtras(Path("out.jpg")).exif).width, 80);
}

TEST_F(PhotoMetadata, KeepsOnlyProfilesThatFit) {
  // A profile for grey pictures stays with grey files, but WebP files are always in colour.
  const Bytes profile = MakeProfile(true);
  WriteTestPng(Path("grey.png"), Gradient(20, 20, 1), {profile, {}});
  ASSERT_EQ(Photo({Path("grey.png"), Path("out.jpg")}).status, 0);
  EXPECT_TRUE(ReadExtras(Path("out.jpg")).icc == profile);
  const Result to_webp = Photo({Path("grey.png"), Path("out.webp")});
  EXPECT_NE(to_webp.errors.find("profile"), std::string::npos) << to_webp.errors;
  EXPECT_TRUE(ReadExtras(Path("out.webp")).icc.empty());
  // On a picture in colour it is wrong.
  WriteTestJpeg(Path("wrong.jpg"), Gradient(20, 20), {}, {profile, {}});
  const Result wrong = Photo({Path("wrong.jpg"), Path("out.png")});
  EXPECT_EQ(wrong.status, 0);
  EXPECT_NE(wrong.errors.find("wrong.jpg: its colour profile"), std::string::npos) << wrong.errors;
  EXPECT_TRUE(ReadExtras(Path("out.png")).icc.empty());
}

// The container itself says how such a picture lies; libheif has turned it already, whatever the
// Exif data repeat.
TEST_F(PhotoMetadata, ComesOutOfHeicFiles) {
  const PictureExtras extras = {MakeProfile(), MakeExif({6, 96, 64, "note", "T"}, true)};
  if (!WriteTestHeic(Path("in.heic"), Gradient(96, 64), extras)) {
    GTEST_SKIP() << "libheif has no HEVC encoder here";
  }
  const Result result = Photo({Path("in.heic"), Path("out.jpg")});
  ASSERT_EQ(result.status, 0) << result.errors;
  const TestPicture after = ReadPicture(Path("out.jpg"));
  EXPECT_EQ(after.width, 96);
  EXPECT_EQ(after.height, 64);
  const PictureExtras kept = ReadExtras(Path("out.jpg"));
  EXPECT_TRUE(kept.icc == extras.icc);
  EXPECT_EQ(ParseExif(kept.exif).orientation, 1);
  EXPECT_EQ(ParseExif(kept.exif).note, "note");
  // The middle, where the subject is, has the colours of the original.
  const TestPicture original = Gradient(96, 64);
  Photo({Path("in.heic"), Path("before_after.png"), "--compare"});
  const TestPicture both = ReadPicture(Path("before_after.png"));
  ASSERT_EQ(both.width, 192);
  double sum = 0;
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 96; ++x) {
      for (int c = 0; c < 3; ++c) sum += std::abs(both.at(x, y)[c] - original.at(x, y)[c]);
    }
  }
  EXPECT_LT(sum / (96 * 64 * 3), 6);
}

}  // namespace
}  // namespace vantro::test
