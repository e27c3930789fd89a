// Rotations by minus 90 degrees against their rules, written out pixel by pixel.

#include <gtest/gtest.h>

#include <functional>

#include "tests/image/resize_reference.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

// sample(x, k): what lands in destination column x, row dst_height - 1 - k.
using Sample = std::function<uint8_t(int x, int k)>;

// The planes of one sample each, one below the other.
Bytes Rotated(const Sizes& s, const std::vector<Sample>& samples) {
  const int height = static_cast<int>(samples.size()) * s.dst_height;
  return PlaneOf(s.dst_width, height, [&](int x, int y) {
    return samples[static_cast<size_t>(y / s.dst_height)](x, s.dst_height - 1 - y % s.dst_height);
  });
}

Sample Bilinear(const Plane& plane, double scale) {
  return [=](int x, int k) { return SampleDouble(plane, scale * k, scale * x); };
}
Sample ByStep(const Plane& plane, int step) {
  return [=](int x, int k) { return plane.At(k * step, x * step); };
}
// The pair whose first byte stands at a byte column of a row that counts in half-steps, limited to
// the last pair.
Sample ByAddress(const Bytes& src, const Sizes& s, int step, int channel) {
  const uint8_t* const chroma = src.data() + Area(s.src_stride, s.src_height);
  const int64_t last = int64_t{s.src_height / 2 - 1} * s.src_stride + s.src_width / 2 * 2 - 2;
  return [=](int x, int k) {
    const int64_t address =
        std::min(k * step, s.src_width - 1) + int64_t{step / 2} * s.src_stride * x;
    return chroma[std::min(address, last) + channel];
  };
}

TEST(Rotation, LumaBilinear) {
  Random random(1);
  for (const Sizes& s : RandomSizes(random)) {
    const Bytes src = random.Noise(Area(s.src_stride, s.src_height));
    const double scale = static_cast<double>(s.src_width) / s.dst_height;
    const Sample sample = Bilinear(LumaOf(src, s), scale);
    ExpectResized(s, src, Rotated(s, {sample}), &resizeYrotateMinus90);

    Sizes square = s;
    square.dst_width = s.dst_height + 3;  // the pitch
    const Sample padded = [&](int x, int k) {
      return x < s.dst_height ? sample(x, k) : kUntouched;
    };
    ExpectResized(square, src, Rotated(square, {padded}), &resizeYrotateMinus90_Multi);
  }
}

TEST(Rotation, ByStepOfLumaAndOfNv21ByAddressAndByPairs) {
  Random random(3);
  for (const Sizes& s : RandomSizes(random)) {
    const Bytes src = random.Noise(s.src_frame());
    const int step = s.src_width / s.dst_height;
    const Sample luma = ByStep(LumaOf(src, s), step);
    std::vector<Sample> by_address = {luma}, by_pairs = {luma};
    for (int channel : {0, 1}) {
      const Sample untouched = [](int, int) { return kUntouched; };
      by_address.push_back(HasChroma(s) ? ByAddress(src, s, step, channel) : untouched);
      by_pairs.push_back(HasChroma(s) ? ByStep(ChromaOf(src, s, channel), step / 2) : untouched);
    }
    ExpectResized(s, src, Rotated(s, {luma}), &resizeYrotateMinus90Integer);
    ExpectResized(s, src, Rotated(s, by_address), &resizeNV21RotateMinus90_X);
    ExpectResized(s, src, Rotated(s, by_pairs), &resizeNV21RotateMinus90Integer);
  }
}

TEST(Rotation, Nv21BilinearUnlessTheStepIsWhole) {
  Random random(4);
  for (const Sizes& s : RandomSizes(random)) {
    const Bytes src = random.Noise(s.src_frame());
    const double scale = static_cast<double>(s.src_width) / s.dst_height;
    std::vector<Sample> samples = {Bilinear(LumaOf(src, s), scale)};
    for (int channel : {0, 1}) {
      if (!HasChroma(s)) {
        samples.push_back([](int, int) { return kUntouched; });
      } else if (s.src_width % s.dst_height == 0) {
        samples.push_back(ByAddress(src, s, s.src_width / s.dst_height, channel));
      } else {
        samples.push_back([&, plane = ChromaOf(src, s, channel)](int x, int k) {
          const auto fy = static_cast<float>(scale * 0.5 * x);
          return SampleDouble(plane, scale * 0.5 * k, static_cast<double>(fy));
        });
      }
    }
    ExpectResized(s, src, Rotated(s, samples), &resizeNV21RotateMinus90);
  }
}

}  // namespace
}  // namespace vantro::test
