#include "tests/engine/picture.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>

#include "vantro/vantro.h"

namespace vantro::test {
namespace {

uint8_t Round(double value) {
  return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

}  // namespace

Picture LoadMedia(const std::string& name) {
  return ReadPicture(std::string(VANTRO_MEDIA_DIR) + "/" + name);
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
  std::minstd_rand noise;
  for (uint8_t& byte : frame) byte = static_cast<uint8_t>(noise() >> 8);
  const bool packed = format == VANTRO_FORMAT_UYVY;
  const auto at = [&](int row, int column) {
    return &frame[static_cast<size_t>(row) * static_cast<size_t>(packed ? 2 * stride : stride) +
                  static_cast<size_t>(column)];
  };
  const int rows = packed ? 1 : 2;  // that share their chroma
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const uint8_t* rgb = picture.at(x, y);
      *at(y, packed ? 2 * x + 1 : x) = Round(0.299 * rgb[0] + 0.587 * rgb[1] + 0.114 * rgb[2]);
      if (x % 2 == 0 || y % rows != rows - 1) continue;
      double mean[3] = {};
      for (int i = 0; i < 2 * rows; ++i) {
        for (int c = 0; c < 3; ++c) mean[c] += picture.at(x - i % 2, y - i / 2)[c] / (2.0 * rows);
      }
      uint8_t* const pair = packed ? at(y, 2 * (x - 1)) : at(picture.height + y / 2, x - 1);
      const int v = packed ? 2 : (format == VANTRO_FORMAT_NV12 ? 1 : 0);
      pair[packed ? 0 : 1 - v] =
          Round(128 - 0.168736 * mean[0] - 0.331264 * mean[1] + 0.5 * mean[2]);
      pair[v] = Round(128 + 0.5 * mean[0] - 0.418688 * mean[1] - 0.081312 * mean[2]);
    }
  }
  return frame;
}

std::vector<uint8_t> LoadReferenceMask(const std::string& picture) {
  const std::string name = picture.substr(0, picture.find('.'));
  Bytes mask = ReadPicture(std::string(VANTRO_REFERENCE_DIR) + "/" + name + ".png").samples;
  for (uint8_t& sample : mask) sample = sample > 127 ? 1 : 0;
  return mask;
}

double Overlap(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  if (a.size() != b.size()) throw std::runtime_error("masks of different sizes");
  int both = 0;
  int either = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    both += a[i] != 0 && b[i] != 0;
    either += a[i] != 0 || b[i] != 0;
  }
  return either == 0 ? 1.0 : static_cast<double>(both) / either;
}

}  // namespace vantro::test
