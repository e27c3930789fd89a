// The fixed-point guided filter against its definition, box by box.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "tests/image/image_buffers.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

using SignedBytes = std::vector<signed char>;

constexpr char kTag[] = "QZA_MVANTRO";
constexpr char kOddLine[] = "NNeighbor_2x22() width or height parameters Error!";

struct Geometry {
  int width, height, stride, radius;

  int half_width() const { return (width + 1) / 2; }
  int half_height() const { return (height + 1) / 2; }
};

std::ostream& operator<<(std::ostream& out, const Geometry& g) {
  return out << g.width << "/" << g.stride << "x" << g.height << " radius " << g.radius;
}

// A reduced plane whose edge elements go on beyond it.
struct Reduced {
  int width, height;
  std::vector<int> values;

  template <typename Value>
  Reduced(const Geometry& g, Value value)
      : width(g.half_width()),
        height(g.half_height()),
        values(PlaneOf<int>(width, height, value)) {}

  int At(int x, int y) const {
    return values[Index(std::clamp(x, 0, width - 1), std::clamp(y, 0, height - 1), width)];
  }
};

// The nearest samples of a plane.
template <typename T>
Reduced Reduce(const std::vector<T>& plane, const Geometry& g) {
  const auto nearest = [](int i, int full, int half) {
    return full % 2 == 0 ? 2 * i : static_cast<int>(i * (static_cast<double>(full) / half));
  };
  return Reduced(g, [&](int x, int y) {
    return plane[Index(nearest(x, g.width, g.half_width()), nearest(y, g.height, g.half_height()),
                       g.stride)];
  });
}

struct Result {
  Reduced a, b;
  SignedBytes output;
};

Result Filter(const Bytes& guide, const SignedBytes& input, const Geometry& g, int eps_q, int shift,
              SignedBytes output) {
  const Reduced i = Reduce(guide, g), p = Reduce(input, g);
  const int r = (g.radius + 1) / 2;
  const int64_t n = (2 * r + 1) * (2 * r + 1);
  const int64_t e = int64_t{eps_q} * 65025 / (int64_t{1} << shift) * n;
  // The sum of first * second over the box around (x, y).
  const Reduced one(g, [](int, int) { return 1; });
  const auto sum = [r](int x, int y, const Reduced& first, const Reduced& second) {
    int64_t total = 0;
    for (int v = y - r; v <= y + r; ++v) {
      for (int u = x - r; u <= x + r; ++u) total += first.At(u, v) * second.At(u, v);
    }
    return total;
  };
  const Reduced a(g, [&](int x, int y) {
    const int64_t sum_i = sum(x, y, i, one), sum_p = sum(x, y, p, one);
    const int64_t den = n * sum(x, y, i, i) - sum_i * sum_i + e;
    const int64_t d = (den >> 9) & 0xFFFF;
    const int64_t quotient = 2 * (n * sum(x, y, i, p) - sum_i * sum_p) / (d == 0 ? 1 : d);
    return static_cast<int>(std::clamp<int64_t>(quotient, -2048, 2047));
  });
  const Reduced b(g, [&](int x, int y) {
    const int64_t scaled = sum(x, y, p, one) * 1024 - sum(x, y, i, one) * a.At(x, y);
    return static_cast<int>(scaled / (255 * n));
  });
  const auto mean = [&](int x, int y, const Reduced& plane) {
    return static_cast<int>(sum(x, y, plane, one) / n);
  };
  const Reduced mean_a(g, [&](int x, int y) { return mean(x, y, a); });
  const Reduced mean_b(g, [&](int x, int y) { return mean(x, y, b); });
  for (int y = 0; y < g.height; ++y) {
    for (int x = 0; x < g.width; ++x) {
      const size_t at = Index(x, y, g.stride);
      const int q = 255 * mean_b.At(x / 2, y / 2) + guide[at] * mean_a.At(x / 2, y / 2);
      output[at] = static_cast<signed char>(q < -132095 ? -128 : q > 130047 ? 127 : q / 1024);
    }
  }
  return {a, b, output};
}

std::vector<Geometry> Geometries(Random& random) {
  std::vector<Geometry> all = {{1, 1, 1, 0}, {2, 2, 2, 1}, {20, 20, 20, 10}, {3, 30, 3, 0}};
  for (int i = 0; i < 30; ++i) {
    const int width = random.Int(4, 60), height = random.Int(4, 30);
    all.push_back({width, height, width + random.Int(0, 3),
                   random.Int(0, std::min({width / 2, height / 2, 10}))});
  }
  return all;
}

// Pictures of different contrast, so that coefficients reach both limits and the middle.
Bytes Picture(Random& random, const Geometry& g) {
  Bytes picture = random.Noise(Area(g.stride, g.height));
  const int contrast = random.Int(0, 3);
  for (size_t i = 0; i < picture.size(); ++i) {
    if (contrast == 0) picture[i] = static_cast<uint8_t>(100 + picture[i] % 4);
    if (contrast == 1) picture[i] = picture[i] < 128 ? 0 : 255;
    if (contrast == 2) picture[i] = static_cast<uint8_t>(i / 7);
  }
  return picture;
}

TEST(GuidedFilterFixed, EqualsItsDefinition) {
  Random random(1);
  for (const Geometry& g : Geometries(random)) {
    SCOPED_TRACE(g);
    const Bytes guide = Picture(random, g);
    SignedBytes input;
    for (uint8_t byte : Picture(random, g)) input.push_back(static_cast<signed char>(byte - 128));
    const SignedBytes before(guide.size(), 33);
    const auto shift = static_cast<signed char>(random.Int(0, 20));
    const int eps_q = random.Int(0, 5000);
    const Result expected = Filter(guide, input, g, eps_q, shift, before);

    // The plain call, then one with a work area of any alignment, which gets the planes of a and b.
    const size_t area = Area(g.half_width(), g.half_height());
    Guarded<uint8_t> work(Bytes(4 * area + 1));
    for (uint8_t* work_area : {static_cast<uint8_t*>(nullptr), work.get() + 1}) {
      Guarded<signed char> to(before);
      const LogCapture log;
      EXPECT_EQ(guided_filter_fast_detail_optm2(guide.data(), input.data(), g.width, g.height,
                                                static_cast<uint8_t>(g.radius), eps_q, shift,
                                                to.get(), g.stride, work_area),
                0);
      EXPECT_TRUE(SamePlanes(to.values(), expected.output, g.stride));
      const bool even = g.width % 2 == 0 && g.height % 2 == 0;
      EXPECT_EQ(log.lines(), std::vector<LogLine>(even ? 0 : 2, {6, kTag, kOddLine}));
      EXPECT_THAT(log.timing_labels(), testing::ElementsAre("GF_meanab_part456_threadloop"));
    }
    std::vector<int16_t> planes(2 * area);
    std::memcpy(planes.data(), work.get() + 1, 4 * area);
    std::vector<int> both = expected.a.values;
    both.insert(both.end(), expected.b.values.begin(), expected.b.values.end());
    EXPECT_TRUE(std::equal(both.begin(), both.end(), planes.begin()));
  }
}

TEST(GuidedFilterFixed, EpsBecomesAQuotientAndAShift) {
  const Bytes guide = Random(2).Noise(24 * 16);
  SignedBytes filtered(guide.size()), centred;
  for (uint8_t byte : guide) centred.push_back(static_cast<signed char>(byte - 128));
  struct Case {
    float eps;
    int quotient;
    signed char shift;
  };
  // clang-format off
  constexpr Case kCases[] = {{0.25f, 2, 3}, {1.0f, 2, 1}, {0.0f, 0, 26}, {0.01f, 2, 8},
                             {1e-7f, 3, 26}, {6e-8f, 2, 25}, {3.9f, 7, 1}, {1e30f, INT32_MAX, 1},
                             {-0.5f, -16777216, 26}, {std::numeric_limits<float>::quiet_NaN(), 0, 26}};
  // clang-format on
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.eps);
    guided_filter_fast_detail_optm2(guide.data(), centred.data(), 24, 16, 4, c.quotient, c.shift,
                                    filtered.data(), 24, nullptr);
    Bytes expected;
    for (signed char value : filtered) expected.push_back(static_cast<uint8_t>(value + 128));
    Bytes output(guide.size());
    EXPECT_EQ(
        guide_filter_acc(guide.data(), guide.data(), 24, 16, 4, c.eps, output.data(), 24, nullptr),
        0);
    EXPECT_TRUE(SamePlanes(output, expected, 24));
  }
}

TEST(GuidedFilterFixed, BadParametersAreLogged) {
  const Bytes guide(900, 100);
  SignedBytes values(900, 33);
  const LogLine refused = {6, kTag, "Parameters Error!"};
  const auto refuse = [&](const Geometry& g, signed char shift, bool with_guide, bool with_input,
                          bool with_output) {
    const LogCapture log;
    EXPECT_EQ(guided_filter_fast_detail_optm2(
                  with_guide ? guide.data() : nullptr, with_input ? values.data() : nullptr,
                  g.width, g.height, static_cast<uint8_t>(g.radius), 2, shift,
                  with_output ? values.data() : nullptr, g.stride, nullptr),
              2000);
    EXPECT_THAT(log.lines(), testing::ElementsAre(refused));
  };
  const Geometry good = {30, 30, 30, 2};
  refuse(good, 3, false, true, true);
  refuse(good, 3, true, false, true);
  refuse(good, 3, true, true, false);
  refuse(good, -1, true, true, true);
  for (const Geometry& g : {Geometry{7, 30, 30, 4},
                            {30, 7, 30, 4},
                            {30, 30, 30, 11},
                            {30, 30, 29, 2},
                            {0, 30, 30, 0},
                            {INT32_MIN, 30, 30, 0},
                            {30, -1, 30, 0}}) {
    refuse(g, 3, true, true, true);
  }
  EXPECT_EQ(values, SignedBytes(900, 33));

  // The outer filter goes on with what is left.
  const LogLine failed = {6, kTag, "guided_filter_fast_detail_optm1  failed\n"};
  Bytes bytes(900, 7);
  LogCapture log;
  const auto filter = [&](const uint8_t* input, uint8_t* output, uint8_t radius) {
    EXPECT_EQ(guide_filter_acc(guide.data(), input, 30, 30, radius, 1.0f, output, 30, nullptr), 0);
  };
  filter(guide.data(), bytes.data(), 16);
  filter(nullptr, bytes.data(), 2);
  filter(guide.data(), nullptr, 2);
  EXPECT_THAT(log.lines(), testing::ElementsAre(refused, failed, refused, failed, refused, failed));
  EXPECT_EQ(bytes, Bytes(900, 128));
}

TEST(GuidedFilterFixed, PrintsTheRadiusAndOneTimingLine) {
  const Bytes guide(16, 90);
  Bytes output(16);
  testing::internal::CaptureStdout();
  guide_filter_acc(guide.data(), guide.data(), 4, 4, 2, 1.0f, output.data(), 4, nullptr);
  EXPECT_THAT(
      testing::internal::GetCapturedStdout(),
      testing::MatchesRegex("\\[QZA_MVANTRO\\]===\\[ GF_meanab_part456_threadloop  *\\]=== "
                            "cost: .* ms\nThis is GF_meanab_part789_process ,radius is 2\n"));
}

}  // namespace
}  // namespace vantro::test
