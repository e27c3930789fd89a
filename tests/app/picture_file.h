// Small pictures for the tests of "vantro photo", written and read with the formats' own libraries.
#ifndef VANTRO_TESTS_APP_PICTURE_FILE_H_
#define VANTRO_TESTS_APP_PICTURE_FILE_H_

#include <string>
#include <vector>

#include "tests/app/program_run.h"
#include "tests/support/picture.h"

namespace vantro::test {

// Random samples, the same for the same arguments.
Picture NoisePicture(int width, int height, unsigned seed = 1, int channels = 3);
// The picture that a file of this Exif orientation (1 to 8) stores, so that viewers show `upright`.
Picture StoredLike(const Picture& upright, int orientation);
// A profile that libraries accept for RGB (or for grey) pictures, of this size or a little more.
Bytes MakeProfile(size_t size, bool grey = false);
// A block with orientation, sizes and a private note. Without its thumbnail it is what a program
// leaves that cuts off the thumbnail and the link to it.
struct ExifContent {
  int orientation = 1;
  int width = 0;
  int height = 0;
  bool big_endian = false;
  bool thumbnail = true;
};
Bytes MakeExif(const ExifContent& content);

void WriteTestJpeg(const std::string& path, const Picture& picture, bool progressive = false);
void WriteTestPng(const std::string& path, const Picture& picture, bool interlaced = false);
void WriteTestWebp(const std::string& path, const Picture& picture);

// Any of JPEG, PNG, WebP; the number of channels is the file's.
Picture ReadPhoto(const std::string& path);

class PhotoTest : public ProgramTest {
 protected:
  // Renders `input` to `output`; both are names in the folder.
  Picture Rendered(const std::string& input, const std::string& output,
                   const std::vector<std::string>& options = {});

  std::string said_;  // by the last run of Rendered
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_APP_PICTURE_FILE_H_
