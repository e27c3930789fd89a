// The Gaussian blur family against its formula, sample by sample.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/image/image_buffers.h"
#include "tests/support/log_capture.h"
#include "vantro/motion.h"

namespace vantro::test {
namespace {

using Weights = std::vector<uint16_t>;
using Member = int (*)(const unsigned char*, unsigned char*, int, int, int, int,
                       const unsigned short*);
constexpr Member kMembers[] = {GaussianBlur3x3_u8, GaussianBlur5x5_u8,   GaussianBlur7x7_u8,
                               GaussianBlur9x9_u8, GaussianBlur11x11_u8, GaussianBlur13x13_u8};

constexpr int kSides[][2] = {{1, 1}, {1, 7}, {2, 3}, {5, 5}, {13, 6}, {33, 14}, {77, 31}, {140, 3}};

int Mirrored(int i, int size) {
  while (i < 0 || i >= size) i = size == 1 ? 0 : i < 0 ? -i : 2 * (size - 1) - i;
  return i;
}

// One pass along the rows, with rows and columns exchanged.
Bytes PassReference(const Bytes& in, int width, int height, const Weights& q) {
  const int c = static_cast<int>(q.size() / 2);
  const auto weight = [&](int i) { return uint32_t{q[static_cast<size_t>(i)]}; };
  uint32_t divisor = weight(c);
  for (int i = 0; i < c; ++i) divisor += 2u * weight(i);
  return PlaneOf(height, width, [&](int y, int x) {
    const auto at = [&](int i) { return uint32_t{in[Index(Mirrored(x + i, width), y, width)]}; };
    uint32_t sum = divisor / 2 + weight(c) * at(0);
    for (int i = 1; i <= c; ++i) {
      sum += weight(c - i) * at(-i) + weight(q.size() == 3 ? 2 : c - i) * at(i);
    }
    return divisor == 0 ? 0 : sum / divisor;
  });
}

Bytes BlurReference(const Bytes& src, int width, int height, const Weights& q) {
  return PassReference(PassReference(src, width, height, q), height, width, q);
}

// Weights as gaussian_blur derives them.
Weights GaussianReference(int length, float sigma) {
  std::vector<float> w;
  if (sigma <= 0 && length <= 7) {
    w = {0.03125f, 0.109375f, 0.21875f, 0.28125f, 0.21875f, 0.109375f, 0.03125f};
    if (length == 5) w = {0.0625f, 0.25f, 0.375f, 0.25f, 0.0625f};
    if (length == 3) w = {0.25f, 0.5f, 0.25f};
  } else {
    const float half = static_cast<float>(length - 1) * 0.5f;
    const float s = sigma > 0 ? sigma : (half - 1) * 0.3f + 0.8f;
    for (int i = 0; i < length; ++i) {
      const float x = static_cast<float>(i) - half;
      w.push_back(expf(x * ((-0.5f / (s * s)) * x)));
    }
  }
  float sum = 0;
  for (const float value : w) sum += value;
  Weights q;
  int total = 0;
  for (const float value : w) {
    q.push_back(static_cast<uint16_t>(std::floor(double{value * (1 / sum) * 256.0f} + 0.5)));
    total += q.back();
  }
  q[q.size() / 2] = static_cast<uint16_t>(q[q.size() / 2] + 256 - total);
  return q;
}

// `rows` at a wider pitch; the gaps keep `fill`.
Bytes Spaced(const Bytes& rows, int width, int height, int stride, uint8_t fill) {
  Bytes plane(Area(stride, height - 1) + Area(width, 1), fill);
  for (int y = 0; y < height; ++y) {
    std::copy_n(&rows[Area(width, y)], width, &plane[Area(stride, y)]);
  }
  return plane;
}

TEST(GaussianBlur, EqualsTheFormulaAtEverySizeAndLength) {
  Random random(1);
  for (const auto& [width, height] : kSides) {
    const Bytes image = random.Noise(Area(width, height));
    for (int length = 3; length <= 13; length += 2) {
      for (const float sigma : {0.0f, 0.4f, 1.3f, 9.0f}) {
        SCOPED_TRACE(testing::Message()
                     << width << "x" << height << " k " << length << " sigma " << sigma);
        const Bytes blurred = BlurReference(image, width, height, GaussianReference(length, sigma));
        const int src_stride = width + random.Int(0, 3), dst_stride = width + random.Int(0, 3);
        const Bytes src = Spaced(image, width, height, src_stride, 1);
        const Bytes expected = Spaced(blurred, width, height, dst_stride, 0xEE);
        Bytes dst(expected.size(), 0xEE);
        EXPECT_EQ(gaussian_blur(src.data(), dst.data(), width, height, src_stride, dst_stride,
                                length, sigma, nullptr, 1, nullptr),
                  0);
        EXPECT_TRUE(SamePlanes(dst, expected, dst_stride));
      }
    }
  }
}

TEST(GaussianBlur, MembersDivideByWhateverTheirWeightsSumTo) {
  Random random(2);
  const Bytes image = random.Noise(Area(21, 9));
  for (size_t m = 0; m < std::size(kMembers); ++m) {
    for (const int largest : {0, 2, 40, 65535}) {
      Weights q(2 * m + 3);
      for (size_t i = 0; i <= m + 1; ++i) {
        q[i] = q[q.size() - 1 - i] = static_cast<uint16_t>(random.Int(0, largest));
      }
      // The shortest one reads a weight of its own for the right neighbour.
      if (m == 0 && largest == 2) q = {64, 128, 90};
      SCOPED_TRACE(testing::Message() << "length " << q.size() << " weights to " << largest);
      Bytes dst(image.size());
      // No weight beyond the centre is read, but for length 3.
      Guarded<uint16_t> weights(
          Weights(q.begin(), m == 0 ? q.end() : q.begin() + static_cast<ptrdiff_t>(m + 2)));
      EXPECT_EQ(kMembers[m](image.data(), dst.data(), 21, 9, 21, 21, weights.get()), 0);
      EXPECT_TRUE(SamePlanes(dst, BlurReference(image, 21, 9, q), 21));
    }
  }
}

TEST(GaussianBlur, MayRunInPlaceAndBetweenOverlappingPlanes) {
  const Bytes image = Random(3).Noise(50 * 40);
  const Bytes expected = BlurReference(image, 50, 40, GaussianReference(9, 2.0f));
  for (const int shift : {0, 1, 75, 700, -1, -333}) {
    SCOPED_TRACE(shift);
    Bytes memory(image.size() + 1400);
    uint8_t* const src = memory.data() + 700;
    std::copy(image.begin(), image.end(), src);
    EXPECT_EQ(gaussian_blur(src, src + shift, 50, 40, 9, 2.0f, nullptr, 1, nullptr), 0);
    EXPECT_TRUE(SamePlanes(Bytes(src + shift, src + shift + image.size()), expected, 50));
  }
}

TEST(GaussianBlur, KeepsAConstantImageAtEveryLengthAndSigma) {
  using Limits = std::numeric_limits<float>;
  for (int length = 3; length <= 13; length += 2) {
    for (const float sigma : {1e-30f, 0.05f, 1e30f, Limits::infinity(), Limits::quiet_NaN()}) {
      Bytes image(23 * 17, 201);
      gaussian_blur(image.data(), image.data(), 23, 17, length, sigma, nullptr, 1, nullptr);
      EXPECT_EQ(image, Bytes(23 * 17, 201)) << length << " " << sigma;
    }
  }
}

TEST(GaussianBlur, CopiesTheImageWhenItRefusesTheLength) {
  Random random(4);
  // A wider source, a wider destination, and equal pitches with their padding.
  for (const auto& [src_stride, dst_stride] : {std::pair{13, 10}, {10, 14}, {12, 12}}) {
    const int copied = std::min(src_stride, dst_stride);
    const Bytes image = random.Noise(Area(src_stride, 6));
    for (const int length : {1, 2, 15, -3}) {
      Bytes dst(Area(dst_stride, 6), 0xEE), expected = dst;
      const LogCapture log;
      EXPECT_EQ(gaussian_blur(image.data(), dst.data(), 9, 6, src_stride, dst_stride, length, 1.0f,
                              nullptr, 1, nullptr),
                -1);
      for (int y = 0; y < 6; ++y) {
        std::copy_n(&image[Area(src_stride, y)], copied, &expected[Area(dst_stride, y)]);
      }
      EXPECT_TRUE(SamePlanes(dst, expected, dst_stride));
      EXPECT_EQ(log.lines(),
                (std::vector<LogLine>{{6, "VANTRO",
                                       "[VANTRO] ATTENTION: k_length is wrong!k_length[" +
                                           std::to_string(length) + "]"}}));
    }
  }
  Bytes overlapping = random.Noise(100), expected = overlapping;
  EXPECT_EQ(
      gaussian_blur(&overlapping[0], &overlapping[8], 8, 8, 8, 8, 4, 1.0f, nullptr, 1, nullptr),
      -1);
  std::fill_n(&expected[8], 64, uint8_t{0});
  EXPECT_EQ(overlapping, expected);
}

TEST(GaussianBlur, RefusesWithOneLineAndLeavesTheDestinationAlone) {
  struct Case {
    bool planes;
    int src_stride;
    float sigma;
    int threads;
    const char* text;
  };
  for (const Case& c :
       {Case{true, 9, 1.0f, 1,
             "[VANTRO] ERROR: src_stride[9] or dst_stride[10] is less than width[10]!!!"},
        Case{true, 10, -1.5f, 1, "[VANTRO] ATTENTION: sigma is wrong!sigma[-1.500000]"},
        Case{true, 10, 1.0f, 2,
             "[VANTRO] if th_pool is NULL, program will be executed in single thread!"},
        Case{false, 10, 1.0f, 1, "[VANTRO] ERROR: org_Img[(nil)] or blur_img[(nil)] is NULL!!!"}}) {
    const Bytes src(100, 7);
    Bytes dst(100, 0xEE);
    const LogCapture log;
    EXPECT_EQ(gaussian_blur(c.planes ? src.data() : nullptr, c.planes ? dst.data() : nullptr, 10,
                            10, c.src_stride, 10, 3, c.sigma, nullptr, c.threads, nullptr),
              -1);
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{6, "VANTRO", c.text}}));
    EXPECT_EQ(dst, Bytes(100, 0xEE));
  }
}

TEST(GaussianBlur, NamesItsScratchMemory) {
  Bytes image(20 * 30, 9);
  const LogCapture log;
  gaussian_blur(image.data(), image.data(), 20, 30, 5, 0.0f, nullptr, 1, nullptr);
  EXPECT_TRUE(log.contains("Malloc 20  name:get_gaussian_kernel"));
  EXPECT_TRUE(log.contains("Malloc 600  name:GaussianBlur5x5_u8"));
  EXPECT_TRUE(log.contains("[VANTRO] Enter in function: GaussianBlur5x5_u8"));
}

}  // namespace
}  // namespace vantro::test
