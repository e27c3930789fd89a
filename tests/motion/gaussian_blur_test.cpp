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

constexpr int kSides[][2] = {{1, 1},  {1, 7},  {6, 1},   {2, 3},   {3, 2},  {5, 5},   {7, 12},
                             {13, 6}, {16, 9}, {19, 20}, {33, 14}, {64, 5}, {77, 31}, {140, 3}};

size_t MirrorIndex(int i, int size) {
  while (i < 0 || i >= size) i = size == 1 ? 0 : i < 0 ? -i : 2 * (size - 1) - i;
  return static_cast<size_t>(i);
}

// One pass along the rows, or along the columns.
Bytes PassReference(const Bytes& in, int width, int height, bool along_rows, const Weights& q) {
  const int c = static_cast<int>(q.size() / 2);
  const auto weight = [&](int i) { return uint32_t{q[static_cast<size_t>(i)]}; };
  uint32_t divisor = weight(c);
  for (int i = 0; i < c; ++i) divisor += 2u * weight(i);
  Bytes out;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto at = [&](int i) {
        return uint32_t{along_rows ? in[Area(width, y) + MirrorIndex(x + i, width)]
                                   : in[MirrorIndex(y + i, height) * static_cast<size_t>(width) +
                                        static_cast<size_t>(x)]};
      };
      uint32_t sum = divisor / 2 + weight(c) * at(0);
      for (int i = 1; i <= c; ++i) {
        sum += weight(c - i) * at(-i) + weight(q.size() == 3 ? 2 : c - i) * at(i);
      }
      out.push_back(divisor == 0 ? uint8_t{0} : static_cast<uint8_t>(sum / divisor));
    }
  }
  return out;
}

Bytes BlurReference(const Bytes& src, int width, int height, const Weights& q) {
  return PassReference(PassReference(src, width, height, true, q), width, height, false, q);
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
        const Bytes expected =
            BlurReference(image, width, height, GaussianReference(length, sigma));
        const int src_stride = width + random.Int(0, 3);
        const int dst_stride = width + random.Int(0, 3);
        Guarded<uint8_t> src(Spaced(image, width, height, src_stride, 1));
        Guarded<uint8_t> dst(Spaced(Bytes(image.size()), width, height, dst_stride, 0xEE));
        EXPECT_EQ(gaussian_blur(src.get(), dst.get(), width, height, src_stride, dst_stride, length,
                                sigma, nullptr, 1, nullptr),
                  0);
        EXPECT_TRUE(SamePlanes(dst.values(), Spaced(expected, width, height, dst_stride, 0xEE),
                               dst_stride));
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
  Random random(3);
  constexpr int kWidth = 50;
  constexpr int kHeight = 40;
  const Bytes image = random.Noise(Area(kWidth, kHeight));
  const Bytes expected = BlurReference(image, kWidth, kHeight, GaussianReference(9, 2.0f));
  for (const int shift : {0, 1, 75, 700, -1, -333}) {
    SCOPED_TRACE(shift);
    Bytes memory(image.size() + 1400);
    uint8_t* const src = memory.data() + 700;
    std::copy(image.begin(), image.end(), src);
    EXPECT_EQ(gaussian_blur(src, src + shift, kWidth, kHeight, 9, 2.0f, nullptr, 1, nullptr), 0);
    EXPECT_TRUE(SamePlanes(Bytes(src + shift, src + shift + image.size()), expected, kWidth));
  }
}

TEST(GaussianBlur, KeepsAConstantImageAtEveryLengthAndSigma) {
  for (int length = 3; length <= 13; length += 2) {
    for (const float sigma :
         {0.0f, 1e-30f, 0.05f, 0.6f, 3.0f, 1e30f, std::numeric_limits<float>::infinity(),
          std::numeric_limits<float>::quiet_NaN()}) {
      Bytes image(23 * 17, 201);
      EXPECT_EQ(
          gaussian_blur(image.data(), image.data(), 23, 17, length, sigma, nullptr, 1, nullptr), 0);
      EXPECT_EQ(image, Bytes(23 * 17, 201)) << length << " " << sigma;
    }
  }
}

LogLine Error(const std::string& text) { return {6, "VANTRO", text}; }

TEST(GaussianBlur, CopiesTheImageWhenItRefusesTheLength) {
  Random random(4);
  // A wider source, a wider destination, and equal pitches with their padding.
  for (const auto& [src_stride, dst_stride] :
       {std::pair{13, 10}, std::pair{10, 14}, std::pair{12, 12}}) {
    const int copied = std::min(src_stride, dst_stride);
    const Bytes image = random.Noise(Area(src_stride, 6));
    for (const int length : {1, 2, 4, 15, 0, -3}) {
      Guarded<uint8_t> src(image);
      Guarded<uint8_t> dst(Bytes(Area(dst_stride, 6), 0xEE));
      const LogCapture log;
      EXPECT_EQ(gaussian_blur(src.get(), dst.get(), 9, 6, src_stride, dst_stride, length, 1.0f,
                              nullptr, 1, nullptr),
                -1);
      Bytes expected(Area(dst_stride, 6), 0xEE);
      for (int y = 0; y < 6; ++y) {
        std::copy_n(&image[Area(src_stride, y)], copied, &expected[Area(dst_stride, y)]);
      }
      EXPECT_TRUE(SamePlanes(dst.values(), expected, dst_stride));
      EXPECT_EQ(log.lines(), std::vector{Error("[VANTRO] ATTENTION: k_length is wrong!k_length[" +
                                               std::to_string(length) + "]")});
    }
  }
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
    EXPECT_EQ(log.lines(), std::vector{Error(c.text)});
    EXPECT_EQ(dst, Bytes(100, 0xEE));
  }
}

TEST(GaussianBlur, NamesItsScratchMemory) {
  Bytes image(20 * 30, 9);
  const LogCapture log;
  gaussian_blur(image.data(), image.data(), 20, 30, 5, 0.0f, nullptr, 1, nullptr);
  EXPECT_TRUE(log.contains("Malloc 20  name:get_gaussian_kernel"));
  EXPECT_TRUE(log.contains("Malloc 600  name:GaussianBlur5x5_u8"));
  const std::vector<LogLine> lines = log.lines();
  EXPECT_EQ(
      std::count_if(lines.begin(), lines.end(), [](const LogLine& line) { return line.level > 3; }),
      1);
  EXPECT_NE(std::find(lines.begin(), lines.end(),
                      LogLine{4, "VANTRO", "[VANTRO] Enter in function: GaussianBlur5x5_u8"}),
            lines.end());
}

}  // namespace
}  // namespace vantro::test
