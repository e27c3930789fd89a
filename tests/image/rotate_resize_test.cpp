// Rotations by minus 90 degrees against their rules, written out pixel by pixel.

#include <gtest/gtest.h>

#include <functional>

#include "tests/image/double_reference.h"
#include "tests/image/image_buffers.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

std::vector<Sizes> RandomSizes(Random& random, int count) {
  std::vector<Sizes> sizes = {{1, 1, 1, 1, 1},         {1, 1, 1, 4, 3},
                              {2, 2, 2, 5, 2},         {33, 50, 35, 50, 33},
                              {130, 70, 130, 70, 130}, {200, 9, 200, 20, 100},
                              {600, 40, 600, 30, 550}, {40, 40, 40, 90, 10}};
  for (int i = 0; i < count; ++i) {
    const int width = random.Int(1, 90);
    const int factor = random.Int(1, 4);
    const int dst_height = random.Int(0, 1) == 0 ? random.Int(1, 90) : std::max(1, width / factor);
    sizes.push_back(
        {width, random.Int(1, 60), width + random.Int(0, 4), random.Int(1, 60), dst_height});
  }
  return sizes;
}

// sample(x, k): what lands in destination column x, row dst_height - 1 - k.
using Sample = std::function<uint8_t(int x, int k)>;

void AppendPlane(Bytes& out, const Sizes& s, const Sample& sample) {
  for (int y = 0; y < s.dst_height; ++y) {
    for (int x = 0; x < s.dst_width; ++x) out.push_back(sample(x, s.dst_height - 1 - y));
  }
}

template <typename Run>
void Expect(const Sizes& s, const Bytes& src, const Bytes& expected, Run run) {
  SCOPED_TRACE(s);
  ExpectPlane(src, Bytes(expected.size(), 0x33), expected, s.dst_width, [&](auto* from, auto* to) {
    run(from, to, s.src_width, s.src_height, s.src_stride, s.dst_width, s.dst_height);
  });
}

Plane LumaOf(const Bytes& src, const Sizes& s) {
  return {src.data(), s.src_width, s.src_height, s.src_stride};
}
Plane ChromaOf(const Bytes& src, const Sizes& s, int channel) {
  return {src.data() + Area(s.src_stride, s.src_height) + channel, s.src_width / 2,
          s.src_height / 2, s.src_stride, 2};
}
bool HasChroma(const Sizes& s) { return s.src_width >= 2 && s.src_height >= 2; }

Sample Bilinear(const Plane& plane, double scale) {
  return [=](int x, int k) {
    return SampleDouble(plane, scale * k, scale * x, Truncation::kEachTerm);
  };
}
Sample ByStep(const Plane& plane, int step) {
  return [=](int x, int k) { return static_cast<uint8_t>(plane.At(k * step, x * step)); };
}
Sample Untouched() {
  return [](int, int) { return uint8_t{0x33}; };
}

TEST(Rotation, LumaBilinear) {
  Random random(1);
  for (const Sizes& s : RandomSizes(random, 60)) {
    const Bytes src = random.Noise(Area(s.src_stride, s.src_height));
    const double scale = static_cast<double>(s.src_width) / s.dst_height;
    Bytes expected;
    AppendPlane(expected, s, Bilinear(LumaOf(src, s), scale));
    Expect(s, src, expected, [](auto* from, auto* to, auto... sizes) {
      EXPECT_EQ(resizeYrotateMinus90(from, to, sizes...), from);
    });

    const Sizes square = {s.src_width, s.src_height, s.src_stride, s.dst_height, s.dst_height};
    const int pitch = s.dst_height + 3;
    Bytes turned;
    AppendPlane(turned, square, Bilinear(LumaOf(src, s), scale));
    Bytes padded(Area(pitch, s.dst_height), 0x33);
    for (int y = 0; y < s.dst_height; ++y) {
      std::copy_n(turned.begin() + y * s.dst_height, s.dst_height, padded.begin() + y * pitch);
    }
    Expect(square, src, padded, [&](auto* from, auto* to, int w, int h, int stride, int, int side) {
      EXPECT_EQ(resizeYrotateMinus90_Multi(from, to, w, h, stride, pitch, side), from);
    });
  }
}

TEST(Rotation, ByOneTheTopLeftPixelLandsAtTheBottomLeft) {
  const Bytes src = {1, 2, 3, 4, 5, 6};
  Bytes dst(6);
  resizeYrotateMinus90Integer(src.data(), dst.data(), 3, 2, 3, 2, 3);
  EXPECT_EQ(dst, (Bytes{3, 6, 2, 5, 1, 4}));
}

// Chroma of the address rule: the pair whose first byte stands at a byte column of a row that
// counts in half-steps, limited to the last pair.
Sample ByAddress(const Bytes& src, const Sizes& s, int step, int channel) {
  const uint8_t* const chroma = src.data() + Area(s.src_stride, s.src_height);
  const int64_t last = int64_t{s.src_height / 2 - 1} * s.src_stride + s.src_width / 2 * 2 - 2;
  return [=](int x, int k) {
    const int64_t address =
        std::min(k * step, s.src_width - 1) + int64_t{step / 2} * s.src_stride * x;
    return chroma[std::min(address, last) + channel];
  };
}

TEST(Rotation, ByStepOfLumaAndOfNv21ByAddressAndByPairs) {
  Random random(3);
  for (const Sizes& s : RandomSizes(random, 60)) {
    const Bytes src = random.Noise(s.src_frame());
    const int step = s.src_width / s.dst_height;
    Bytes by_address, by_pairs;
    AppendPlane(by_address, s, ByStep(LumaOf(src, s), step));
    Expect(s, src, by_address, [](auto* from, auto* to, auto... sizes) {
      resizeYrotateMinus90Integer(from, to, sizes...);
    });
    by_pairs = by_address;
    for (int channel : {0, 1}) {
      AppendPlane(by_address, s, HasChroma(s) ? ByAddress(src, s, step, channel) : Untouched());
      AppendPlane(by_pairs, s,
                  HasChroma(s) ? ByStep(ChromaOf(src, s, channel), step / 2) : Untouched());
    }
    Expect(s, src, by_address, [](auto* from, auto* to, auto... sizes) {
      resizeNV21RotateMinus90_X(from, to, sizes...);
    });
    Expect(s, src, by_pairs, [](auto* from, auto* to, auto... sizes) {
      resizeNV21RotateMinus90Integer(from, to, sizes...);
    });
  }
}

TEST(Rotation, Nv21BilinearUnlessTheStepIsWhole) {
  Random random(4);
  int whole = 0;
  for (const Sizes& s : RandomSizes(random, 60)) {
    const Bytes src = random.Noise(s.src_frame());
    const double scale = static_cast<double>(s.src_width) / s.dst_height;
    const bool by_step = s.src_width >= s.dst_height && s.src_width % s.dst_height == 0;
    whole += by_step;
    Bytes expected;
    AppendPlane(expected, s, Bilinear(LumaOf(src, s), scale));
    for (int channel : {0, 1}) {
      Sample sample = Untouched();
      if (HasChroma(s) && by_step) {
        sample = ByAddress(src, s, s.src_width / s.dst_height, channel);
      } else if (HasChroma(s)) {
        sample = [&, plane = ChromaOf(src, s, channel)](int x, int k) {
          const auto fy = static_cast<float>(scale * 0.5 * x);
          return SampleDouble(plane, scale * 0.5 * k, static_cast<double>(fy),
                              Truncation::kEachTerm);
        };
      }
      AppendPlane(expected, s, sample);
    }
    Expect(s, src, expected, [](auto* from, auto* to, auto... sizes) {
      EXPECT_EQ(resizeNV21RotateMinus90(from, to, sizes...), from);
    });
  }
  EXPECT_GT(whole, 10);
}

}  // namespace
}  // namespace vantro::test
