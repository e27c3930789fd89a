// Sizes for the resizers, and their results written out pixel by pixel.
#ifndef VANTRO_TESTS_IMAGE_RESIZE_REFERENCE_H_
#define VANTRO_TESTS_IMAGE_RESIZE_REFERENCE_H_

#include <cmath>
#include <type_traits>

#include "tests/image/image_buffers.h"

namespace vantro::test {

struct Sizes {
  int src_width, src_height, src_stride, dst_width, dst_height;

  size_t src_frame() const { return Area(src_stride, src_height + src_height / 2); }
};

inline std::ostream& operator<<(std::ostream& out, const Sizes& s) {
  return out << s.src_width << "/" << s.src_stride << "x" << s.src_height << " to " << s.dst_width
             << "x" << s.dst_height;
}

inline std::vector<Sizes> RandomSizes(Random& random) {
  std::vector<Sizes> all = {
      {1, 1, 1, 1, 1}, {1, 1, 3, 5, 5}, {700, 6, 700, 600, 4}, {90, 5, 90, 1030, 9}};
  for (int i = 0; i < 80; ++i) {
    const int most = i < 20 ? 4 : 80;  // single rows and columns, too
    Sizes s = {random.Int(1, most), random.Int(1, most / 2), 0, random.Int(1, 90),
               random.Int(1, 40)};
    // Often a ratio that has a rule of its own.
    if (i % 5 == 0) {
      s.src_width = 2 * s.dst_width;
      s.src_height = 2 * s.dst_height;
    } else if (i % 5 == 1) {
      s.dst_width = 2 * s.src_width;
      s.dst_height = 2 * s.src_height;
    } else if (i % 5 == 2) {
      s.src_width = random.Int(1, 4) * s.dst_height;
    }
    s.src_stride = s.src_width + random.Int(0, 4);
    all.push_back(s);
  }
  return all;
}

// The elements sample(x, y), row by row.
template <typename T = uint8_t, typename Sample>
std::vector<T> PlaneOf(int width, int height, Sample sample) {
  std::vector<T> plane;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) plane.push_back(static_cast<T>(sample(x, y)));
  }
  return plane;
}

struct Plane {
  const uint8_t* data;
  int width, height, stride;
  int step = 1;

  // The last row and column go on beyond the plane.
  uint8_t At(int64_t x, int64_t y) const {
    return data[std::min<int64_t>(y, height - 1) * stride + std::min<int64_t>(x, width - 1) * step];
  }
};

inline Plane LumaOf(const Bytes& src, const Sizes& s) {
  return {src.data(), s.src_width, s.src_height, s.src_stride};
}
inline Plane ChromaOf(const Bytes& src, const Sizes& s, int channel) {
  return {src.data() + Area(s.src_stride, s.src_height) + channel, s.src_width / 2,
          s.src_height / 2, s.src_stride, 2};
}
inline bool HasChroma(const Sizes& s) { return s.src_width >= 2 && s.src_height >= 2; }

inline uint8_t SampleDouble(const Plane& plane, double fx, double fy, bool each_term = true) {
  fx = std::min(fx, plane.width - 1.0);
  fy = std::min(fy, plane.height - 1.0);
  const auto x = static_cast<int>(fx), y = static_cast<int>(fy);
  const double ax = fx - x, ay = fy - y;
  double sum = 0;
  for (const double term :
       {(1 - ax) * (1 - ay) * plane.At(x, y), (1 - ax) * ay * plane.At(x, y + 1),
        ax * (1 - ay) * plane.At(x + 1, y), ax * ay * plane.At(x + 1, y + 1)}) {
    sum += each_term ? std::trunc(term) : term;
  }
  return static_cast<uint8_t>(sum);
}

constexpr uint8_t kUntouched = 0x33;

// The plane that resize(from, to, sizes...) writes; an operation that answers gives its source.
template <typename Resize>
void ExpectResized(const Sizes& s, const Bytes& src, const Bytes& expected, Resize resize) {
  SCOPED_TRACE(s);
  const Bytes before(expected.size(), kUntouched);
  ExpectPlane(src, before, expected, s.dst_width, [&](uint8_t* from, uint8_t* to) {
    const auto run = [&] {
      return resize(from, to, s.src_width, s.src_height, s.src_stride, s.dst_width, s.dst_height);
    };
    if constexpr (std::is_void_v<decltype(run())>) {
      run();
    } else {
      EXPECT_EQ(run(), from);
    }
  });
}

}  // namespace vantro::test

#endif  // VANTRO_TESTS_IMAGE_RESIZE_REFERENCE_H_
