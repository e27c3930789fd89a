#include "tests/engine/masks.h"

#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <stdexcept>

namespace vantro::test {
bool Found::untouched() const {
  const auto same = [](const CROP_BOX& b) {
    return b.crop_top == -7 && b.crop_bottom == -7 && b.crop_left == -7 && b.crop_right == -7 &&
           b.box_mode == 2;
  };
  return same(box) && same(crop) &&
         std::all_of(mask.begin(), mask.end(), [](uint8_t value) { return value == 0xEE; });
}

std::vector<uint8_t> OnFrame(const Found& found, int width, int height) {
  std::vector<uint8_t> person(static_cast<size_t>(width) * static_cast<size_t>(height));
  const CROP_BOX& crop = found.crop;
  const int columns = crop.crop_right - crop.crop_left + 1;
  const int rows = crop.crop_bottom - crop.crop_top + 1;
  for (int y = crop.crop_top; y <= crop.crop_bottom; ++y) {
    for (int x = crop.crop_left; x <= crop.crop_right; ++x) {
      const int row = (2 * (y - crop.crop_top) + 1) * 256 / (2 * rows);
      const int column = (2 * (x - crop.crop_left) + 1) * 256 / (2 * columns);
      person[static_cast<size_t>(y * width + x)] =
          found.mask[static_cast<size_t>(row * 256 + column)];
    }
  }
  return person;
}

double Overlap(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  EXPECT_EQ(a.size(), b.size());
  int both = 0;
  int either = 0;
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    both += a[i] != 0 && b[i] != 0;
    either += a[i] != 0 || b[i] != 0;
  }
  return either == 0 ? 1.0 : static_cast<double>(both) / either;
}

std::vector<uint8_t> LoadReferenceMask(const std::string& picture) {
  const std::string path =
      std::string(VANTRO_REFERENCE_DIR) + "/" + picture.substr(0, picture.find('.')) + ".png";
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  std::vector<uint8_t> mask(256 * 256);
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0 || image.width != 256 ||
      image.height != 256) {
    throw std::runtime_error(path + ": no mask of 256x256");
  }
  image.format = PNG_FORMAT_GRAY;
  png_image_finish_read(&image, nullptr, mask.data(), 0, nullptr);
  for (uint8_t& value : mask) value = value > 127 ? 1 : 0;
  return mask;
}

}  // namespace vantro::test
