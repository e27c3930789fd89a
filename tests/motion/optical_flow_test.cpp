// The whole flow between two images, and the decision made from it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "tests/image/image_buffers.h"
#include "tests/support/log_capture.h"
#include "vantro/image.h"
#include "vantro/motion.h"

namespace vantro::test {
namespace {

using testing::HasSubstr;
using Floats = std::vector<float>;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// A smooth texture whose content lies (right, down) pixels further than at (0, 0).
Bytes Texture(int width, int height, double right, double down) {
  Bytes image;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const double u = x - right;
      const double v = y - down;
      image.push_back(static_cast<uint8_t>(128 + 50 * std::sin(u / 5 + v / 9) +
                                           40 * std::cos(v / 4) + 25 * std::sin(u / 3 - v / 6)));
    }
  }
  return image;
}

struct HandleDeleter {
  void operator()(ME_Handler* handle) const { opticalFlow_unInit(handle); }
};
using Handle = std::unique_ptr<ME_Handler, HandleDeleter>;

Handle NewHandle(int levels, float scale, int width, int height) {
  ME_Handler* handle = nullptr;
  EXPECT_EQ(opticalFlow_Init(&handle, levels, scale, width, height), 0);
  return Handle(handle);
}

// Level 0's field as planes: all dx, then all dy.
Floats FlowOf(Bytes first, Bytes second, int width, int height) {
  const Handle handle = NewHandle(3, 0.5f, width, height);
  EXPECT_EQ(build_OF_Pyramid(handle.get(), first.data(), 7, 1.5f), 0);
  EXPECT_EQ(doOpticalFlow(handle.get(), second.data()), 0);
  const size_t pixels = Area(width, height);
  Floats planes(handle->flow_x, handle->flow_x + pixels);
  planes.insert(planes.end(), handle->flow_y, handle->flow_y + pixels);
  return planes;
}

Floats Expand(const Bytes& image, int width, int height) {
  Floats source(image.begin(), image.end()), result(5 * image.size());
  Floats kernel(45), row(Area(3, width + 14));
  opticalFKPolyExp(source.data(), result.data(), kernel.data(), row.data(), width, height, 7, 1.5);
  return result;
}

// Two levels, full and half size, of 100x100 images by the flow's own steps.
Floats FlowByItsSteps(const Bytes& first, const Bytes& second) {
  const auto expand = [](const Bytes& image, int side) {
    Bytes level(Area(side, side));
    vantro_c::ResizeUchar(image.data(), level.data(), 100, 100, side, side);
    // The half size is used as it is.
    if (side == 100) {
      gaussian_blur(level.data(), level.data(), side, side, 3, 0.0f, nullptr, 1, nullptr);
    }
    return Expand(level, side, side);
  };
  const auto update = [&](int side, Floats& flow) {
    const Floats r0 = expand(first, side);
    const Floats r1 = expand(second, side);
    Floats terms(r0.size()), row(Area(5, side));
    opticalFKUpdateMatrices(r0.data(), r1.data(), flow.data(), side, side, terms.data(), 0, side);
    opticalFK_Blur(nullptr, nullptr, flow.data(), row.data(), side, side, terms.data(), 5, false);
  };
  Floats half(2 * 2500, 0.0f), flow(2 * 10000), planes;
  update(50, half);
  for (size_t i = 0; i < flow.size(); ++i) {
    const size_t pixel = i / 2;
    flow[i] = 2 * half[2 * (pixel / 200 * 50 + pixel % 100 / 2) + i % 2];
  }
  update(100, flow);
  for (const size_t part : {0u, 1u}) {
    for (size_t i = part; i < flow.size(); i += 2) planes.push_back(flow[i]);
  }
  return planes;
}

TEST(DoOpticalFlow, TakesItsStepsCoarseToFine) {
  const Bytes first = Texture(100, 100, 0, 0);
  const Bytes second = Texture(100, 100, 2.2, -0.7);
  EXPECT_TRUE(SamePlanes(FlowOf(first, second, 100, 100), FlowByItsSteps(first, second), 100));
}

TEST(DoOpticalFlow, FindsAShiftAwayFromTheBorder) {
  constexpr int kSide = 100;
  for (const auto& [right, down] : {std::pair{1.0, 0.0}, {-1.5, 0.75}, {0.0, -2.0}, {2.0, 2.0}}) {
    const Floats flow =
        FlowOf(Texture(kSide, kSide, 0, 0), Texture(kSide, kSide, right, down), kSide, kSide);
    double dx = 0;
    double dy = 0;
    for (size_t y = 20; y < 80; ++y) {
      for (size_t x = 20; x < 80; ++x) {
        dx += double{flow[y * kSide + x]} / 3600;
        dy += double{flow[(kSide + y) * kSide + x]} / 3600;
      }
    }
    EXPECT_NEAR(dx, right, 0.15) << right << ", " << down;
    EXPECT_NEAR(dy, down, 0.15) << right << ", " << down;
  }
}

TEST(DoOpticalFlow, IsExactlyZeroBetweenConstantImages) {
  for (const auto& [width, height] : {std::pair{100, 100}, {130, 66}, {17, 5}, {1, 1}}) {
    const size_t pixels = Area(width, height);
    EXPECT_EQ(FlowOf(Bytes(pixels, 30), Bytes(pixels, 220), width, height),
              Floats(2 * pixels, 0.0f));
  }
}

TEST(FlowHandle, HoldsWhatTheSizeAndScaleGive) {
  const Handle handle = NewHandle(3, 0.5f, 100, 100);
  EXPECT_EQ(handle->max_level, 1);
  EXPECT_EQ(handle->level_scale[1], 0.5f);
  EXPECT_EQ(handle->next_set, 0);
  EXPECT_EQ(handle->poly[0][2], nullptr);
  EXPECT_EQ(NewHandle(0, 0.5f, 100, 100)->max_level, 0);
  EXPECT_EQ(NewHandle(4, 1.0f, 40, 40)->max_level, 4);
  EXPECT_EQ(NewHandle(4, 0.9f, 40, 36)->max_level, 1);
  EXPECT_EQ(NewHandle(4, -1.0f, 40, 40)->max_level, 0);
  EXPECT_EQ(NewHandle(-7, 0.5f, 400, 400)->max_level, 0);
}

TEST(FlowHandle, RefusesSizesScalesAndLevelsWithOneLine) {
  struct Case {
    int levels;
    float scale;
    int width;
    int height;
    const char* text;
  };
  for (const Case& c :
       {Case{5, 0.5f, 100, 100, "invalid parameter size(100 x 100) pyrScale(0.500000) maxLevel(5}"},
        Case{3, 1.5f, 100, 90, "invalid parameter size(100 x 90) pyrScale(1.500000) maxLevel(3}"},
        Case{3, 0.5f, 0, 100, "invalid parameter size(0 x 100) pyrScale(0.500000) maxLevel(3}"},
        Case{3, 0.5f, 9, -2, "invalid parameter size(9 x -2) pyrScale(0.500000) maxLevel(3}"},
        Case{3, kNan, 9, 9, "invalid parameter size(9 x 9) pyrScale(nan) maxLevel(3}"}}) {
    const LogCapture log;
    ME_Handler* handle = reinterpret_cast<ME_Handler*>(&handle);
    EXPECT_EQ(opticalFlow_Init(&handle, c.levels, c.scale, c.width, c.height), -1);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(log.lines(), (std::vector<LogLine>{{6, "VANTRO", c.text}}));
  }
  EXPECT_EQ(opticalFlow_Init(nullptr, 3, 0.5f, 9, 9), -1);
  // A size that no allocation can count.
  ME_Handler* handle = nullptr;
  EXPECT_EQ(opticalFlow_Init(&handle, 3, 0.5f, 20000, 20000), -1);
}

TEST(FlowHandle, RefusesPyramidsThatItHasNoRoomFor) {
  Bytes image(10000, 100);
  const Handle handle = NewHandle(3, 0.5f, 100, 100);
  // (6n + 3) + 3 * (100 + 2n) of 10000 floats.
  EXPECT_EQ(build_OF_Pyramid(handle.get(), image.data(), 808, 1.5f), 0);
  for (const int n : {809, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_EQ(build_OF_Pyramid(handle.get(), image.data(), n, 1.5f), -1) << n;
  }
  EXPECT_EQ(handle->next_set, 1);
  const LogCapture log;
  EXPECT_EQ(build_OF_Pyramid(nullptr, image.data(), 7, 1.5f), -1);
  EXPECT_TRUE(log.lines().size() == 1 && log.lines()[0].level == 6);
  EXPECT_THAT(log.lines()[0].text, HasSubstr("invalid input parameter: (nil) 0x"));
}

TEST(FlowHandle, TakesAndNamesItsBuffersInOrder) {
  const LogCapture log;
  opticalFlow_unInit(NewHandle(3, 0.5f, 100, 100).release());
  std::vector<std::string> taken;
  int freed = 0;
  for (const LogLine& line : log.lines()) {
    if (line.text.rfind("Malloc ", 0) == 0) taken.push_back(line.text.substr(7));
    if (line.text.find("name:opticalFlow_unInit") != std::string::npos) ++freed;
  }
  std::vector<std::string> expected = {std::to_string(sizeof(ME_Handler)) +
                                       "  name:opticalFlow_Init"};
  for (const char* const size : {"40000", "200000", "40000", "200000", "200000", "50000", "50000",
                                 "10000", "80000", "80000", "2140"}) {
    expected.push_back(size + std::string("  name:allocOF_Buffer"));
  }
  EXPECT_EQ(taken, expected);
  EXPECT_EQ(freed, 12);
  EXPECT_TRUE(log.contains("opticalFlow Init Success!"));
  EXPECT_TRUE(log.contains("opticalFlow Unit Success!"));
}

struct Box {
  float x0, y0, x1, y1;
};

int Compare(const Bytes& first, const Bytes& second, int width, int height, float global,
            float local, const Box& box) {
  Bytes a = first;
  Bytes b = second;
  return CompareOpticalFlow(a.data(), b.data(), global, width, height, local, box.x0, box.y0,
                            box.x1, box.y1);
}

TEST(CompareOpticalFlow, SumsTheFieldInOrderAndComparesStrictly) {
  const Bytes first = Texture(70, 50, 0, 0);
  const Bytes second = Texture(70, 50, 1.2, 0.4);
  const Floats flow = FlowOf(first, second, 70, 50);
  float sum = 0;
  for (size_t i = 0; i < 3500; ++i) {
    sum += std::fabs(flow[i]);
    sum += std::fabs(flow[3500 + i]);
  }
  const Box none = {0, 0, 0, 0};
  EXPECT_EQ(Compare(first, second, 70, 50, sum, 1e9f, none), 0);
  EXPECT_EQ(Compare(first, second, 70, 50, std::nextafter(sum, 0.0f), 1e9f, none), 1);
  EXPECT_EQ(Compare(Bytes(3500, 3), Bytes(3500, 200), 70, 50, 0.0f, 0.0f, {0, 0, 1, 1}), 0);
}

TEST(CompareOpticalFlow, MeasuresThePartOfTheBoxThatTheFieldHas) {
  constexpr int kWidth = 70;
  constexpr int kHeight = 50;
  const Bytes first = Texture(kWidth, kHeight, 0, 0);
  const Bytes second = Texture(kWidth, kHeight, 1.2, 0.4);
  const Floats flow = FlowOf(first, second, kWidth, kHeight);
  struct Case {
    Box box;
    int c0, c1, r0, r1;  // the pixels it stands for
  };
  constexpr float kHuge = 3e38f;
  for (const Case& c : {Case{{0.1f, 0.2f, 0.5f, 0.9f}, 7, 35, 10, 45},
                        Case{{0.31f, 0.47f, 0.33f, 0.49f}, 21, 24, 23, 25},
                        Case{{0, 0, 1, 1}, 0, 70, 0, 50}, Case{{-4, 0.5f, 0.1f, 8}, 0, 7, 25, 50},
                        Case{{-kHuge, -kInfinity, kHuge, kInfinity}, 0, 70, 0, 50},
                        Case{{0.98f, -1, 1e9f, 0.01f}, 68, 70, 0, 1},
                        // Inverted within one column.
                        Case{{0.309f, 0.2f, 0.301f, 0.9f}, 21, 22, 10, 45}}) {
    float sum = 0;
    for (const int plane : {0, kWidth}) {
      for (int a = c.c0; a < c.c1; ++a) {
        for (int b = c.r0; b < c.r1; ++b) {
          sum += std::fabs(flow[static_cast<size_t>((plane + a) * kHeight + b)]);
        }
      }
    }
    const float mean = sum / static_cast<float>((c.c1 - c.c0) * (c.r1 - c.r0));
    ASSERT_GT(mean, 0.0f);
    EXPECT_EQ(Compare(first, second, kWidth, kHeight, 1e9f, mean, c.box), 0) << c.c0;
    EXPECT_EQ(Compare(first, second, kWidth, kHeight, 1e9f, std::nextafter(mean, 0.0f), c.box), 1)
        << c.c0;
  }
}

TEST(CompareOpticalFlow, FindsNoAreaInBoxesThatHaveNone) {
  const Bytes first = Texture(40, 40, 0, 0);
  const Bytes second = Texture(40, 40, 3, 1);
  for (const Box& box :
       {Box{0.5f, 0.1f, 0.5f, 0.9f}, Box{0.8f, 0.8f, 0.2f, 0.2f}, Box{0.8f, 0.1f, 0.2f, 0.9f},
        Box{2, 2, 9, 9}, Box{-9, -9, -2, -2}, Box{kNan, 0, 1, 1}, Box{0, 0, 1, kNan},
        Box{kInfinity, 0, kInfinity, 1}, Box{-kInfinity, -kInfinity, -kInfinity, -kInfinity}}) {
    EXPECT_EQ(Compare(first, second, 40, 40, 1e9f, 0.0f, box), 0) << box.x0 << " " << box.x1;
    // A threshold that a mean of 0 passes shows that it is 0 and not NaN.
    EXPECT_EQ(Compare(first, second, 40, 40, 1e9f, -1.0f, box), 1) << box.x0 << " " << box.x1;
  }
}

int CountOf(const LogCapture& log, const std::string& start) {
  int count = 0;
  for (const LogLine& line : log.lines()) count += line.text.rfind(start, 0) == 0 ? 1 : 0;
  return count;
}

std::vector<std::string> ErrorTexts(const LogCapture& log) {
  std::vector<std::string> texts;
  for (const LogLine& line : log.lines()) {
    if (line.level == 6 && line.text.find("k_length is wrong") == std::string::npos) {
      texts.push_back(line.text);
    }
  }
  return texts;
}

TEST(CompareOpticalFlow, NamesItsBuffersAndReleasesThem) {
  const Bytes image = Texture(100, 100, 0, 0);
  const LogCapture log;
  EXPECT_EQ(Compare(image, image, 100, 100, 20000.0f, 2.5f, {0.2f, 0.2f, 0.8f, 0.8f}), 0);
  EXPECT_EQ(CountOf(log, "Malloc "), CountOf(log, "Free "));
  EXPECT_EQ(CountOf(log, "Malloc 80000  name:CompareOpticalFlow"), 1);
  EXPECT_EQ(CountOf(log, "Malloc 28800  name:CompareOpticalFlow"), 1);
  EXPECT_THAT(log.lines(), testing::Contains(LogLine{4, "VANTRO",
                                                     "k = 1 scale = 0.500000 sigma = 0.500000 "
                                                     "smooth_sz = 3 size[50x50]"}));
  EXPECT_EQ(CountOf(log, "k = 0 scale = 1.000000 sigma = 0.000000 smooth_sz = 3 size[100x100]"), 2);
  EXPECT_EQ(CountOf(log, "[VANTRO] ATTENTION: k_length is wrong!k_length[1]"), 2);
}

TEST(CompareOpticalFlow, ReportsAMissingImage) {
  Bytes image(10000, 1);
  const auto texts = [](unsigned char* first, unsigned char* second) {
    const LogCapture log;
    EXPECT_EQ(CompareOpticalFlow(first, second, 1, 100, 100, 1, 0, 0, 1, 1), -1);
    return ErrorTexts(log);
  };
  EXPECT_THAT(
      texts(nullptr, image.data()),
      testing::ElementsAre(HasSubstr("invalid input parameter: 0x"), "build Frame pyramid Failed"));
  EXPECT_THAT(texts(image.data(), nullptr),
              testing::ElementsAre(HasSubstr("invalid input parameter: 0x"),
                                   "build OF Pyramid Failed!", "doOpticalFlow Failed!"));
  EXPECT_EQ(CompareOpticalFlow(image.data(), image.data(), 1, 0, 100, 1, 0, 0, 1, 1), -1);
}

}  // namespace
}  // namespace vantro::test
