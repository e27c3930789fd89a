// The rescalers of masks and grey planes to and from 1080p, and the mask's morphology.
#include "bench/support/host.h"
#include "bench/support/operation.h"
#include "bench/support/silhouette.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

#if defined(VANTRO_HAVE_LIBYUV)
#include <libyuv.h>
#endif
#if defined(VANTRO_HAVE_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace vantro::bench {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

struct Plane {
  int width;
  int height;

  size_t bytes() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
  std::string size() const { return std::to_string(width) + "x" + std::to_string(height); }
};

struct Resize {
  Plane from;
  Plane to;

  size_t touched() const { return from.bytes() + to.bytes(); }
  std::string name() const { return from.size() + " to " + to.size(); }
};

constexpr Resize Up(int factor) { return {{kWidth / factor, kHeight / factor}, {kWidth, kHeight}}; }
constexpr Resize Down(int factor) {
  return {{kWidth, kHeight}, {kWidth / factor, kHeight / factor}};
}

// `scale` takes the source, the destination and the sizes.
template <typename Scale>
auto Prepare(const Resize& resize, Scale scale) {
  return [resize, scale] {
    return [resize, scale, src = Silhouette(resize.from.width, resize.from.height),
            dst = std::vector<uint8_t>(resize.to.bytes())]() mutable {
      scale(src.data(), dst.data(), resize.from, resize.to);
    };
  };
}

#if defined(VANTRO_HAVE_LIBYUV)
template <libyuv::FilterMode kMode>
void AddLibyuv(const std::string& operation, const Resize& resize) {
  AddPeer(operation, "libyuv", resize.name(),
          Prepare(resize, [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
            libyuv::ScalePlane(src, from.width, from.width, from.height, dst, to.width, to.width,
                               to.height, kMode);
          }));
}
constexpr auto AddBilinearPeer = AddLibyuv<libyuv::kFilterBilinear>;
constexpr auto AddNearestPeer = AddLibyuv<libyuv::kFilterNone>;
constexpr auto AddMeanPeer = AddLibyuv<libyuv::kFilterBox>;
#else
void AddBilinearPeer(const std::string&, const Resize&) {}
void AddNearestPeer(const std::string&, const Resize&) {}
void AddMeanPeer(const std::string&, const Resize&) {}
#endif

template <typename Scale>
void AddResize(const std::string& operation, const Resize& resize,
               void (*add_peer)(const std::string&, const Resize&), Scale scale) {
  Add(operation, resize.name(), resize.touched(), Prepare(resize, scale));
  add_peer(operation, resize);
}

void AddEnlargements() {
  AddResize("upScale2x2", Up(2), AddBilinearPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              upScale2x2(dst, src, to.width, to.height, to.width, from.width, from.height,
                         from.width, 0, to.height);
            });
  AddResize("upscale_x4_blinear", Up(2), AddBilinearPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              upscale_x4_blinear(src, dst, from.width, from.height, from.width, to.width);
            });
  AddResize("upScale4x4", Up(4), AddBilinearPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              upScale4x4(dst, src, from.width, from.height, to.width, from.width);
            });
  AddResize("upscale_x16_blinear", Up(4), AddBilinearPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              upscale_x16_blinear(src, dst, from.width, from.height, from.width, to.width);
            });
  for (const Resize& resize : {Up(2), Up(4), Up(6), Resize{{256, 256}, {kWidth, kHeight}}}) {
    AddResize("bilinearGrayU8BorderLines", resize, AddBilinearPeer,
              [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
                bilinearGrayU8BorderLines(dst, src, to.width, to.height, to.width, from.width,
                                          from.height, from.width, 0, to.height);
              });
  }
  AddResize("up_scale_context", Up(4), AddNearestPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              up_scale_context(src, from.width, from.height, from.width, dst, to.width, to.height,
                               to.width);
            });
  // One source row pair to one destination row pair.
  constexpr Plane kRows{kWidth / 4, 2};
  Add("upScale4x4BorderRows", "480 to 1920 columns", 5 * kRows.bytes(), [=] {
    return [=, src = Silhouette(kRows.width, kRows.height),
            dst = std::vector<uint8_t>(4 * kRows.bytes())]() mutable {
      upScale4x4BorderRows(dst.data(), dst.data() + 4 * kRows.width, src.data(),
                           src.data() + kRows.width, kRows.width, 5, 3);
    };
  });
}

void AddReductions() {
  AddResize("averageGrayU8Down2x2", Down(2), AddMeanPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              averageGrayU8Down2x2(dst, src, to.width, to.height, to.width, 0, 0, from.width);
            });
  AddResize("downscale_x4_avg", Down(2), AddMeanPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              downscale_x4_avg(src, dst, from.width, from.height, from.width, to.width);
            });
  AddResize("averageGrayU8Down4x4", Down(4), AddMeanPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              averageGrayU8Down4x4(dst, src, to.width, to.height, to.width, 0, 0, from.width);
            });
  AddResize("downscale_x16_avg", Down(4), AddMeanPeer,
            [](uint8_t* src, uint8_t* dst, const Plane& from, const Plane& to) {
              downscale_x16_avg(src, dst, from.width, from.height, from.width, to.width);
            });
}

void AddMorphology(const std::string& operation, void (*morph)(unsigned char*, int, int, int),
                   [[maybe_unused]] bool erodes) {
  constexpr Plane kMask{256, 256};
  for (const int radius : {1, 20}) {
    const std::string shape = kMask.size() + ", radius " + std::to_string(radius);
    Add(operation, shape, 2 * kMask.bytes(), [=] {
      fmalloc = &HeapAlloc;
      ffree = &HeapFree;
      return [=, image = Silhouette(kMask.width, kMask.height)]() mutable {
        morph(image.data(), kMask.width, kMask.height, radius);
      };
    });
#if defined(VANTRO_HAVE_OPENCV)
    AddPeer(operation, "OpenCV", shape, [=] {
      cv::setNumThreads(1);
      const int side = 2 * radius + 1;
      return [=, image = Silhouette(kMask.width, kMask.height), result = cv::Mat(),
              square = cv::Mat(cv::getStructuringElement(cv::MORPH_RECT, {side, side}))]() mutable {
        const cv::Mat mask(kMask.height, kMask.width, CV_8U, image.data());
        erodes ? cv::erode(mask, result, square) : cv::dilate(mask, result, square);
      };
    });
#endif
  }
}

void AddCopies() {
  constexpr Plane kFrame{kWidth, kHeight};
  Add("getYcomponent", kFrame.size() + " NV21", 2 * kFrame.bytes(), [=] {
    return [=, src = NoiseBuffer(kFrame.bytes()),
            dst = std::vector<uint8_t>(kFrame.bytes())]() mutable {
      getYcomponent(dst.data(), src.data(), kWidth, kWidth, 0, 0,
                    {0, kHeight - 1, 0, kWidth - 1, 2}, VANTRO_FORMAT_NV21);
    };
  });
  Add("preProcessMask", kFrame.size(), 2 * kFrame.bytes(), [=] {
    return [=, src = Silhouette(kWidth, kHeight),
            dst = std::vector<uint8_t>(kFrame.bytes())]() mutable {
      preProcessMask(dst.data(), src.data(), kHeight, kWidth, kWidth);
    };
  });
  Add("EnhanceContrast", "one sample", 0, [] {
    return [cxt = MakeContext(), luma = uint8_t{0}]() mutable {
      benchmark::DoNotOptimize(EnhanceContrast(cxt.get(), luma++));
    };
  });
}

const bool kAdded = [] {
  AddEnlargements();
  AddReductions();
  AddMorphology("erosion", &erosion, true);
  AddMorphology("dilation", &dilation, false);
  AddCopies();
  return true;
}();

}  // namespace
}  // namespace vantro::bench
