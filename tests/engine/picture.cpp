#include "tests/engine/picture.h"

#include <png.h>
// jpeglib.h needs FILE and size_t before it.
#include <jpeglib.h>
#include <cstdio>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "vantro/vantro.h"

namespace vantro::test {
namespace {

Picture LoadPng(const std::string& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
    throw std::runtime_error(path + ": " + image.message);
  }
  image.format = PNG_FORMAT_RGB;
  Picture picture(static_cast<int>(image.width), static_cast<int>(image.height));
  if (png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr) == 0) {
    throw std::runtime_error(path + ": " + image.message);
  }
  return picture;
}

Picture LoadJpeg(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             &std::fclose);
  if (!file) throw std::runtime_error(path + ": cannot be opened");
  jpeg_decompress_struct jpeg{};
  jpeg_error_mgr errors;
  jpeg.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&jpeg);
  jpeg_stdio_src(&jpeg, file.get());
  jpeg_read_header(&jpeg, TRUE);
  jpeg.out_color_space = JCS_RGB;
  jpeg_start_decompress(&jpeg);
  Picture picture(static_cast<int>(jpeg.output_width), static_cast<int>(jpeg.output_height));
  while (jpeg.output_scanline < jpeg.output_height) {
    JSAMPROW row = picture.at(0, static_cast<int>(jpeg.output_scanline));
    jpeg_read_scanlines(&jpeg, &row, 1);
  }
  jpeg_finish_decompress(&jpeg);
  jpeg_destroy_decompress(&jpeg);
  return picture;
}

uint8_t Round(double value) {
  return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

uint8_t Luma(const uint8_t* rgb) { return Round(0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2]); }

// Chroma of the pixels [x, x + 2) by [y, y + rows), first U, then V.
void Chroma(const Picture& picture, int x, int y, int rows, uint8_t* u, uint8_t* v) {
  double mean[3] = {};
  for (int j = y; j < y + rows; ++j) {
    for (int i = x; i < x + 2; ++i) {
      for (int c = 0; c < 3; ++c) mean[c] += picture.at(i, j)[c] / (2.0 * rows);
    }
  }
  *u = Round(128 - 0.168736 * mean[0] - 0.331264 * mean[1] + 0.5 * mean[2]);
  *v = Round(128 + 0.5 * mean[0] - 0.418688 * mean[1] - 0.081312 * mean[2]);
}

}  // namespace

Picture LoadMedia(const std::string& name) {
  const std::string path = std::string(VANTRO_MEDIA_DIR) + "/" + name;
  if (std::FILE* file = std::fopen(path.c_str(), "rb")) {
    std::fclose(file);
  } else {
    throw std::runtime_error(path + " is missing: run scripts/fetch-media");
  }
  return name.ends_with(".png") ? LoadPng(path) : LoadJpeg(path);
}

Picture Scale(const Picture& picture, int width, int height) {
  Picture scaled(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      std::copy_n(picture.at((2 * x + 1) * picture.width / (2 * width),
                             (2 * y + 1) * picture.height / (2 * height)),
                  3, scaled.at(x, y));
    }
  }
  return scaled;
}

size_t FrameBytes(int format, int height, int stride) {
  const auto rows = static_cast<size_t>(height);
  return static_cast<size_t>(stride) * (format == VANTRO_FORMAT_UYVY ? 2 * rows : rows + rows / 2);
}

std::vector<uint8_t> ToFrame(const Picture& picture, int format, int stride) {
  std::vector<uint8_t> frame(FrameBytes(format, picture.height, stride));
  uint32_t noise = 1;
  for (uint8_t& byte : frame)
    byte = static_cast<uint8_t>((noise = noise * 1664525 + 1013904223) >> 24);
  const auto pitch = static_cast<size_t>(stride);
  const bool packed = format == VANTRO_FORMAT_UYVY;
  for (int y = 0; y < picture.height; ++y) {
    uint8_t* row = frame.data() + static_cast<size_t>(y) * pitch * (packed ? 2 : 1);
    for (int x = 0; x < picture.width; ++x) row[packed ? 2 * x + 1 : x] = Luma(picture.at(x, y));
    if (packed) {
      for (int x = 0; x + 1 < picture.width; x += 2) {
        Chroma(picture, x, y, 1, &row[2 * x], &row[2 * x + 2]);
      }
    } else if (y % 2 == 1) {
      uint8_t* chroma = frame.data() + static_cast<size_t>(picture.height + y / 2) * pitch;
      const int u = format == VANTRO_FORMAT_NV12 ? 0 : 1;
      for (int x = 0; x + 1 < picture.width; x += 2) {
        Chroma(picture, x, y - 1, 2, &chroma[x + u], &chroma[x + 1 - u]);
      }
    }
  }
  return frame;
}

}  // namespace vantro::test
