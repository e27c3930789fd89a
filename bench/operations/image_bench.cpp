// The image primitives that have no benchmark of their own in bench/image, at 1080p or from it to
// the sizes that cameras use.
#include "bench/support/operation.h"
#include "vantro/image.h"

#if defined(VANTRO_HAVE_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace vantro::bench {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

struct Size {
  int width;
  int height;

  size_t pixels() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
  std::string name() const { return std::to_string(width) + "x" + std::to_string(height); }
};

constexpr Size kFull{kWidth, kHeight};
constexpr Size kHalf{kWidth / 2, kHeight / 2};
constexpr Size kQuarter{kWidth / 4, kHeight / 4};
constexpr Size kDouble{kWidth * 2, kHeight * 2};
constexpr Size kLess{kWidth * 3 / 4, kHeight * 3 / 4};
constexpr Size kReduced{100, 100};

// A resize, with `bytes` bytes a pixel on both sides (times two: 3 is the size of an NV21 frame).
template <typename Resize>
void AddResize(const std::string& operation, Size from, Size to, size_t half_bytes, Resize resize,
               const std::string& who = "vantro") {
  const size_t src_bytes = from.pixels() * half_bytes / 2;
  const size_t dst_bytes = to.pixels() * half_bytes / 2;
  const auto prepare = [=] {
    return [=, src = NoiseBuffer(src_bytes), dst = std::vector<uint8_t>(dst_bytes)]() mutable {
      resize(src.data(), dst.data(), from, to);
    };
  };
  const std::string shape = from.name() + " to " + to.name();
  if (who == "vantro") {
    Add(operation, shape, src_bytes + dst_bytes, prepare);
  } else {
    AddPeer(operation, who, shape, prepare);
  }
}

constexpr size_t kPlane = 2;
constexpr size_t kNv21 = 3;
constexpr size_t kPacked = 4;
constexpr size_t kColour = 6;
constexpr size_t kFloat = 8;

enum class Image { kBytes, kColours, kFloats };

// OpenCV's linear resize, or nearest.
template <Image kImage, bool kNearest = false>
void AddOpenCv([[maybe_unused]] const std::string& operation, [[maybe_unused]] Size from,
               [[maybe_unused]] Size to, [[maybe_unused]] size_t half_bytes) {
#if defined(VANTRO_HAVE_OPENCV)
  constexpr int kType = kImage == Image::kBytes     ? CV_8UC1
                        : kImage == Image::kColours ? CV_8UC3
                                                    : CV_32FC1;
  AddResize(
      operation, from, to, half_bytes,
      [](uint8_t* src, uint8_t* dst, Size s, Size d) {
        cv::setNumThreads(1);
        const cv::Mat image(s.height, s.width, kType, src);
        cv::Mat result(d.height, d.width, kType, dst);
        cv::resize(image, result, result.size(), 0, 0,
                   kNearest ? cv::INTER_NEAREST : cv::INTER_LINEAR);
      },
      "OpenCV");
#endif
}

void AddChannelResizes() {
  using Frame = void (*)(const unsigned char*, unsigned char*, int, int, int, int, int);
  for (const auto& [name, resize, half_bytes] :
       {std::tuple<const char*, Frame, size_t>{"ResizeUcharNV21", &ResizeUcharNV21, kNv21},
        {"ResizeUcharNV12", &ResizeUcharNV12, kNv21},
        {"ResizeUcharUYVY", &ResizeUcharUYVY, kPacked}}) {
    for (const Size to : {kHalf, kLess}) {
      AddResize(name, kFull, to, half_bytes,
                [resize = resize](uint8_t* src, uint8_t* dst, Size s, Size d) {
                  resize(src, dst, s.width, s.width, s.height, d.width, d.height);
                });
    }
  }
  AddResize("ResizeUcharHalfSemiPlanar", kFull, kHalf, kNv21,
            [](uint8_t* src, uint8_t* dst, Size s, Size d) {
              ResizeUcharHalfSemiPlanar(src, dst, s.width, s.height, d.width, d.height, s.width,
                                        d.width);
            });
  AddResize("ResizeNV12toY", kFull, kReduced, kNv21,
            [](uint8_t* src, uint8_t* dst, Size s, Size d) {
              ResizeNV12toY(src, dst, s.width, s.width, s.height, d.width, d.height);
            });
  AddResize("ResizeUYVYtoY", kFull, kReduced, kPacked,
            [](uint8_t* src, uint8_t* dst, Size s, Size d) {
              ResizeUYVYtoY(src, dst, s.width, s.width, s.height, d.width, d.height);
            });
  AddResize("ResizeUYVYtoYChl", kFull, kReduced, kPacked,
            [](uint8_t* src, uint8_t* dst, Size s, Size d) {
              ResizeUYVYtoYChl(src + 1, dst, s.width, s.width, s.height, d.width, d.height, 2);
            });
  AddResize("ResizeUchar_upScale2x2", kHalf, kFull, kPlane,
            [](uint8_t* src, uint8_t* dst, Size s, Size d) {
              ResizeUchar_upScale2x2(src, dst, s.width, s.height, d.width, d.height);
            });
  AddOpenCv<Image::kBytes>("ResizeUchar_upScale2x2", kHalf, kFull, kPlane);
  AddResize("upscale4X", kQuarter, kFull, kPlane, [](uint8_t* src, uint8_t* dst, Size s, Size d) {
    upscale4X(src, dst, s.width, s.height, s.width, d.width, d.height);
  });
  AddOpenCv<Image::kBytes>("upscale4X", kQuarter, kFull, kPlane);
}

void AddGeometryResizes() {
  for (const Size to : {kLess, kHalf}) {
    AddResize("resize", kFull, to, kPlane, [](uint8_t* src, uint8_t* dst, Size s, Size d) {
      resize(src, dst, s.width, s.height, s.width, d.width, d.height);
    });
    AddOpenCv<Image::kBytes>("resize", kFull, to, kPlane);
    AddResize("resizeNV21", kFull, to, kNv21, [](uint8_t* src, uint8_t* dst, Size s, Size d) {
      resizeNV21(src, dst, s.width, s.height, s.width, d.width, d.height);
    });
    AddResize("resizeUcharRGB", kFull, to, kColour, [](uint8_t* src, uint8_t* dst, Size s, Size d) {
      resizeUcharRGB(src, dst, s.width, s.height, d.width, d.height);
    });
    AddOpenCv<Image::kColours>("resizeUcharRGB", kFull, to, kColour);
    AddResize("resizeUcharRGBChl", kFull, to, kColour,
              [](uint8_t* src, uint8_t* dst, Size s, Size d) {
                resizeUcharRGBChl(src, dst, s.width, s.height, d.width, d.height);
              });
  }
  AddResize("resizeNV21Integer", kFull, kHalf, kNv21,
            [](uint8_t* src, uint8_t* dst, Size s, Size d) {
              resizeNV21Integer(src, dst, s.width, s.height, s.width, d.width, d.height);
            });
  AddResize("resizeYInteger", kFull, kHalf, kPlane, [](uint8_t* src, uint8_t* dst, Size s, Size d) {
    resizeYInteger(src, dst, s.width, s.height, s.width, d.width, d.height);
  });
  AddOpenCv<Image::kBytes, true>("resizeYInteger", kFull, kHalf, kPlane);
  AddResize("resizeNV21RotateMinus90", kFull, {kHeight, kWidth}, kColour,
            [](uint8_t* src, uint8_t* dst, Size s, Size d) {
              resizeNV21RotateMinus90(src, dst, s.width, s.height, s.width, d.width, d.height);
            });
  AddResize("resizeYrotateMinus90_Multi", kFull, {kHeight, kHeight}, kPlane,
            [](uint8_t* src, uint8_t* dst, Size s, Size d) {
              resizeYrotateMinus90_Multi(src, dst, s.width, s.height, s.width, d.width, d.height);
            });
}

float* AsFloats(uint8_t* bytes) { return reinterpret_cast<float*>(bytes); }

// Noise would hold numbers that slow every processor down.
void FillFloats(uint8_t* bytes, Size size, size_t each) {
  for (size_t i = 0; i < size.pixels() * each; ++i) {
    AsFloats(bytes)[i] = static_cast<float>(i % 251) + 0.5f;
  }
}

template <typename Resize>
void AddFloatResize(const std::string& operation, Size from, Size to, size_t channels,
                    Resize resize) {
  const size_t touched = (from.pixels() + to.pixels()) * channels * sizeof(float);
  Add(operation, from.name() + " to " + to.name(), touched, [=] {
    std::vector<uint8_t> src(from.pixels() * channels * sizeof(float));
    FillFloats(src.data(), from, channels);
    return [=, src = std::move(src),
            dst = std::vector<uint8_t>(to.pixels() * channels * sizeof(float))]() mutable {
      resize(AsFloats(src.data()), AsFloats(dst.data()), from, to);
    };
  });
}

void AddFloatResizes() {
  for (const Size to : {kHalf, kLess, kDouble}) {
    AddFloatResize("resizeFloat_Bilinear", kFull, to, 1,
                   [](const float* src, float* dst, Size s, Size d) {
                     resizeFloat_Bilinear(src, dst, s.width, s.height, d.width, d.height);
                   });
    AddOpenCv<Image::kFloats>("resizeFloat_Bilinear", kFull, to, kFloat);
  }
  AddFloatResize("Resize_secure", kFull, kLess, 1,
                 [](const float* src, float* dst, Size s, Size d) {
                   Resize_secure(src, dst, s.width, s.height, d.width, d.height);
                 });
  AddOpenCv<Image::kFloats>("Resize_secure", kFull, kLess, kFloat);
  AddFloatResize("resizeSpareDisparityNearest", kFull, kLess, 1,
                 [](const float* src, float* dst, Size s, Size d) {
                   resizeSpareDisparityNearest(src, dst, s.width, s.height, d.width, d.height,
                                               -1.0f);
                 });
  AddFloatResize("resizeFloat_Nearest_2Ch", kFull, kLess, 2,
                 [](const float* src, float* dst, Size s, Size d) {
                   resizeFloat_Nearest_2Ch(src, dst, s.width, s.height, d.width, d.height);
                 });
}

void AddGuidedFilters() {
  const size_t pixels = kFull.pixels();
  Add("guide_filter_acc", kFull.name() + ", radius 4", 3 * pixels, [=] {
    return [guide = NoiseBuffer(pixels), input = NoiseBuffer(pixels),
            output = std::vector<uint8_t>(pixels)]() mutable {
      guide_filter_acc(guide.data(), input.data(), kWidth, kHeight, 4, 0.01f, output.data(), kWidth,
                       nullptr);
    };
  });
  Add("guided_filter_fast_detail_optm2", kFull.name() + ", radius 4", 3 * pixels, [=] {
    const std::vector<uint8_t> noise = NoiseBuffer(pixels);
    return [guide = noise, input = std::vector<signed char>(noise.begin(), noise.end()),
            output = std::vector<signed char>(pixels)]() mutable {
      guided_filter_fast_detail_optm2(guide.data(), input.data(), kWidth, kHeight, 4, 650, 0,
                                      output.data(), kWidth, nullptr);
    };
  });
  Add("guidedfilter_f", kHalf.name() + ", radius 4", 12 * kHalf.pixels(), [] {
    const std::vector<uint8_t> noise = NoiseBuffer(kHalf.pixels());
    const std::vector<float> plane(noise.begin(), noise.end());
    return [guide = plane, input = plane, output = plane]() mutable {
      guidedfilter_f(nullptr, output.data(), guide.data(), input.data(), kHalf.width, kHalf.height,
                     kHalf.width, 4, 100.0f);
    };
  });
}

// A thousand colours.
template <typename Convert>
void AddPixelConversion(const std::string& operation, Convert convert) {
  Add(operation, "1000 pixels", 0, [convert] {
    return [convert, bytes = NoiseBuffer(3000)] {
      for (size_t i = 0; i < bytes.size(); i += 3) {
        benchmark::DoNotOptimize(convert(bytes[i], bytes[i + 1], bytes[i + 2]));
      }
    };
  });
}

const bool kAdded = [] {
  AddChannelResizes();
  AddGeometryResizes();
  AddFloatResizes();
  AddGuidedFilters();
  AddPixelConversion("yuvTorgb", &yuvTorgb);
  AddPixelConversion("rgbToyuv", &rgbToyuv);
  AddPixelConversion("RgbToHsv", [](int32_t r, int32_t g, int32_t b) {
    return RgbToHsv({r, g, b});
  });
  AddPixelConversion("HsvToRgb", [](int32_t h, int32_t s, int32_t v) {
    return HsvToRgb({h, s, v});
  });
  return true;
}();

}  // namespace
}  // namespace vantro::bench
