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

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// A smooth texture whose content lies (right, down) pixels further than at (0, 0).
Bytes Texture(int width, int height, double right, double down) {
  Bytes image;
  for (int i = 0; i < width * height; ++i) {
    const double u = i % width - right, v = i / width - down;
    image.push_back(static_cast<uint8_t>(128 + 50 * std::sin(u / 5 + v / 9) + 40 * std::cos(v / 4) +
                                         25 * std::sin(u / 3 - v / 6)));
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

// Two levels, full and half size, of 100x100 images by the flow's own steps.
Floats FlowByItsSteps(const Bytes& first, const Bytes& second) {
  const auto expand = [](const Bytes& image, int side) {
    Bytes level(Area(side, side));
    vantro_c::ResizeUchar(image.data(), level.data(), 100, 100, side, side);
    // The half size is used as it is.
    if (side == 100) {
      gaussian_blur(level.data(), level.data(), side, side, 3, 0.0f, nullptr, 1, nullptr);
    }
    Floats source(level.begin(), level.end()), result(5 * level.size());
    Floats kernel(45), row(Area(3, side + 14));
    opticalFKPolyExp(source.data(), result.data(), kernel.data(), row.data(), side, side, 7, 1.5);
    return result;
  };
  const auto update = [&](int side, Floats& flow) {
    const Floats r0 = expand(first, side), r1 = expand(second, side);
    Floats terms(r0.size()), row(Area(5, side));
    opticalFKUpdateMatrices(r0.data(), r1.data(), flow.data(), side, side, terms.data(), 0, side);
    opticalFK_Blur(nullptr, nullptr, flow.data(), row.data(), side, side, terms.data(), 5, false);
  };
  Floats half(2 * 2500, 0.0f), flow, planes;
  update(50, half);
  for (int i = 0; i < 2 * 10000; ++i) {
    flow.push_back(2 * half[2 * Index(i / 2 % 100 / 2, i / 400, 50) + static_cast<size_t>(i % 2)]);
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
  for (const auto& [right, down] : {std::pair{1.0, 0.0}, {-1.5, 0.75}, {2.0, -2.0}}) {
    const Floats flow = FlowOf(Texture(100, 100, 0, 0), Texture(100, 100, right, down), 100, 100);
    double dx = 0, dy = 0;
    for (int i = 0; i < 3600; ++i) {
      dx += double{flow[Index(20 + i % 60, 20 + i / 60, 100)]} / 3600;
      dy += double{flow[Index(20 + i % 60, 120 + i / 60, 100)]} / 3600;
    }
    EXPECT_NEAR(dx, right, 0.15);
    EXPECT_NEAR(dy, down, 0.15);
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
    int width, height;
    const char* parameters;
  };
  for (const Case& c : {Case{5, 0.5f, 100, 100, "size(100 x 100) pyrScale(0.500000) maxLevel(5}"},
                        Case{3, 1.5f, 100, 90, "size(100 x 90) pyrScale(1.500000) maxLevel(3}"},
                        Case{3, 0.5f, 0, 100, "size(0 x 100) pyrScale(0.500000) maxLevel(3}"},
                        Case{3, 0.5f, 9, -2, "size(9 x -2) pyrScale(0.500000) maxLevel(3}"},
                        Case{3, kNan, 9, 9, "size(9 x 9) pyrScale(nan) maxLevel(3}"}}) {
    const LogCapture log;
    ME_Handler* handle = reinterpret_cast<ME_Handler*>(&handle);
    EXPECT_EQ(opticalFlow_Init(&handle, c.levels, c.scale, c.width, c.height), -1);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(
        log.lines(),
        (std::vector<LogLine>{{6, "VANTRO", std::string("invalid parameter ") + c.parameters}}));
  }
  EXPECT_EQ(opticalFlow_Init(nullptr, 3, 0.5f, 9, 9), -1);
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
  EXPECT_THAT(log.lines().at(0).text, HasSubstr("invalid input parameter: (nil) 0x"));
}

// What follows `start` in the lines that begin with it.
std::vector<std::string> TextsAfter(const std::string& start, const LogCapture& log) {
  std::vector<std::string> texts;
  for (const LogLine& line : log.lines()) {
    if (line.text.rfind(start, 0) == 0) texts.push_back(line.text.substr(start.size()));
  }
  return texts;
}

TEST(FlowHandle, TakesAndNamesItsBuffersInOrder) {
  const LogCapture log;
  opticalFlow_unInit(NewHandle(3, 0.5f, 100, 100).release());
  std::vector<std::string> taken = {std::to_string(sizeof(ME_Handler)) + "  name:opticalFlow_Init"};
  for (const char* const size : {"40000", "200000", "40000", "200000", "200000", "50000", "50000",
                                 "10000", "80000", "80000", "2140"}) {
    taken.push_back(size + std::string("  name:allocOF_Buffer"));
  }
  EXPECT_EQ(TextsAfter("Malloc ", log), taken);
  EXPECT_THAT(TextsAfter("Free ", log),
              AllOf(SizeIs(12), Each(HasSubstr("name:opticalFlow_unInit"))));
  EXPECT_TRUE(log.contains("opticalFlow Init Success!"));
  EXPECT_TRUE(log.contains("opticalFlow Unit Success!"));
}

struct Box {
  float x0, y0, x1, y1;
};

int Compare(Bytes first, Bytes second, int width, int height, float global, float local,
            const Box& box) {
  return CompareOpticalFlow(first.data(), second.data(), global, width, height, local, box.x0,
                            box.y0, box.x1, box.y1);
}

TEST(CompareOpticalFlow, SumsTheFieldInOrderAndComparesStrictly) {
  const Bytes first = Texture(70, 50, 0, 0), second = Texture(70, 50, 1.2, 0.4);
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
  const Bytes first = Texture(70, 50, 0, 0), second = Texture(70, 50, 1.2, 0.4);
  const Floats flow = FlowOf(first, second, 70, 50);
  struct Case {
    Box box;
    int c0, c1, r0, r1;  // the pixels it stands for
  };
  for (const Case& c : {Case{{0.1f, 0.2f, 0.5f, 0.9f}, 7, 35, 10, 45},
                        Case{{0.31f, 0.47f, 0.33f, 0.49f}, 21, 24, 23, 25},
                        Case{{0, 0, 1, 1}, 0, 70, 0, 50}, Case{{-4, 0.5f, 0.1f, 8}, 0, 7, 25, 50},
                        Case{{-3e38f, -kInfinity, 3e38f, kInfinity}, 0, 70, 0, 50},
                        Case{{0.98f, -1, 1e9f, 0.01f}, 68, 70, 0, 1},
                        // Inverted within one column.
                        Case{{0.309f, 0.2f, 0.301f, 0.9f}, 21, 22, 10, 45}}) {
    float sum = 0;
    for (const int plane : {0, 70}) {
      for (int a = c.c0; a < c.c1; ++a) {
        // The box's horizontal coordinate counts rows of the field's height.
        for (int b = c.r0; b < c.r1; ++b) sum += std::fabs(flow[Index(b, plane + a, 50)]);
      }
    }
    const float mean = sum / static_cast<float>((c.c1 - c.c0) * (c.r1 - c.r0));
    ASSERT_GT(mean, 0.0f);
    EXPECT_EQ(Compare(first, second, 70, 50, 1e9f, mean, c.box), 0) << c.c0;
    EXPECT_EQ(Compare(first, second, 70, 50, 1e9f, std::nextafter(mean, 0.0f), c.box), 1) << c.c0;
  }
}

TEST(CompareOpticalFlow, FindsNoAreaInBoxesThatHaveNone) {
  const Bytes first = Texture(40, 40, 0, 0), second = Texture(40, 40, 3, 1);
  for (const Box& box :
       {Box{0.5f, 0.1f, 0.5f, 0.9f}, Box{0.8f, 0.8f, 0.2f, 0.2f}, Box{0.8f, 0.1f, 0.2f, 0.9f},
        Box{2, 2, 9, 9}, Box{-9, -9, -2, -2}, Box{kNan, 0, 1, 1}, Box{0, kNan, 1, 1},
        Box{0, 0, 1, kNan}, Box{kInfinity, 0, kInfinity, 1},
        Box{-kInfinity, -kInfinity, -kInfinity, -kInfinity}}) {
    // A threshold that a mean of 0 passes shows that it is 0 and not NaN.
    for (const float threshold : {0.0f, -1.0f}) {
      EXPECT_EQ(Compare(first, second, 40, 40, 1e9f, threshold, box), threshold < 0 ? 1 : 0)
          << box.x0 << " " << box.x1;
    }
  }
}

TEST(CompareOpticalFlow, NamesItsBuffersAndReleasesThem) {
  const Bytes image = Texture(100, 100, 0, 0);
  const LogCapture log;
  EXPECT_EQ(Compare(image, image, 100, 100, 20000.0f, 2.5f, {0.2f, 0.2f, 0.8f, 0.8f}), 0);
  const std::vector<std::string> taken = TextsAfter("Malloc ", log);
  EXPECT_EQ(taken.size(), TextsAfter("Free ", log).size());
  EXPECT_THAT(taken, Contains("80000  name:CompareOpticalFlow"));
  EXPECT_THAT(taken, Contains("28800  name:CompareOpticalFlow"));
  const std::string half = "k = 1 scale = 0.500000 sigma = 0.500000 smooth_sz = 3 size[50x50]";
  EXPECT_THAT(log.lines(), Contains(LogLine{4, "VANTRO", half}));
  EXPECT_THAT(TextsAfter("k = 0 scale = ", log),
              ElementsAre("1.000000 sigma = 0.000000 smooth_sz = 3 size[100x100]",
                          "1.000000 sigma = 0.000000 smooth_sz = 3 size[100x100]"));
  EXPECT_THAT(TextsAfter("[VANTRO] ATTENTION: k_length is wrong!k_length[1]", log), SizeIs(2));
}

TEST(CompareOpticalFlow, ReportsAMissingImage) {
  Bytes image(10000, 1);
  uint8_t* const some = image.data();
  LogCapture log;
  EXPECT_EQ(CompareOpticalFlow(nullptr, some, 1, 100, 100, 1, 0, 0, 1, 1), -1);
  EXPECT_THAT(TextsAfter("invalid input parameter: 0x", log), SizeIs(1));
  EXPECT_TRUE(log.contains("build Frame pyramid Failed"));
  EXPECT_EQ(CompareOpticalFlow(some, nullptr, 1, 100, 100, 1, 0, 0, 1, 1), -1);
  EXPECT_TRUE(log.contains("build OF Pyramid Failed!"));
  EXPECT_TRUE(log.contains("doOpticalFlow Failed!"));
}

}  // namespace
}  // namespace vantro::test
