// The steps of the optical flow on the 100x100 images of the scene check, the members of the blur,
// and the small matrices.
#include <cmath>
#include <memory>

#include "bench/support/operation.h"
#include "vantro/motion.h"

namespace vantro::bench {
namespace {

constexpr int kSide = 100;
constexpr size_t kPixels = size_t{kSide} * kSide;
constexpr int kReach = 7;
constexpr float kSigma = 1.5f;
constexpr char kShape[] = "100x100";

// Smooth structure, as the reduced frames hold it.
std::vector<uint8_t> Image(double shift) {
  std::vector<uint8_t> image(kPixels);
  for (size_t i = 0; i < kPixels; ++i) {
    const double x = (static_cast<double>(i % kSide) + shift) / 5.0;
    const double y = static_cast<double>(i / kSide) / 5.0;
    image[i] = static_cast<uint8_t>(128.0 + 100.0 * std::sin(x) * std::cos(y));
  }
  return image;
}

std::vector<float> Floats(size_t count) {
  std::vector<float> values(count);
  for (size_t i = 0; i < count; ++i) values[i] = static_cast<float>(i * 37 % 256) / 256.0f + 0.1f;
  return values;
}

struct HandlerDeleter {
  void operator()(ME_Handler* handler) const { opticalFlow_unInit(handler); }
};
using Handler = std::unique_ptr<ME_Handler, HandlerDeleter>;

Handler MakeHandler() {
  ME_Handler* handler = nullptr;
  opticalFlow_Init(&handler, 1, 0.5f, kSide, kSide);
  return Handler(handler);
}

void AddFlow() {
  Add("opticalFlow_Init", "and opticalFlow_unInit", 0, [] { return [] { MakeHandler(); }; });
  Add("build_OF_Pyramid", kShape, 21 * kPixels, [] {
    return [handler = MakeHandler(), image = Image(0.0)]() mutable {
      build_OF_Pyramid(handler.get(), image.data(), kReach, kSigma);
    };
  });
  Add("doOpticalFlow", kShape, 0, [] {
    Handler handler = MakeHandler();
    std::vector<uint8_t> first = Image(0.0);
    build_OF_Pyramid(handler.get(), first.data(), kReach, kSigma);
    return [handler = std::move(handler), image = Image(1.5)]() mutable {
      doOpticalFlow(handler.get(), image.data());
    };
  });
  Add("opticalFKPolyExp", kShape, 24 * kPixels, [] {
    return [src = Floats(kPixels), dst = std::vector<float>(5 * kPixels),
            kernel = std::vector<float>(3 * (2 * kReach + 1)),
            row = std::vector<float>(3 * (kSide + 2 * kReach))]() mutable {
      opticalFKPolyExp(src.data(), dst.data(), kernel.data(), row.data(), kSide, kSide, kReach,
                       kSigma);
    };
  });
  Add("opticalFKUpdateMatrices", kShape, 68 * kPixels, [] {
    return [r0 = Floats(5 * kPixels), r1 = Floats(5 * kPixels), flow = Floats(2 * kPixels),
            m = std::vector<float>(5 * kPixels)]() mutable {
      opticalFKUpdateMatrices(r0.data(), r1.data(), flow.data(), kSide, kSide, m.data(), 0, kSide);
    };
  });
  Add("opticalFK_Blur", kShape, 28 * kPixels, [] {
    return [r0 = Floats(5 * kPixels), r1 = Floats(5 * kPixels), flow = Floats(2 * kPixels),
            row = std::vector<float>(5 * kSide), m = Floats(5 * kPixels)]() mutable {
      opticalFK_Blur(r0.data(), r1.data(), flow.data(), row.data(), kSide, kSide, m.data(), 15,
                     false);
    };
  });
  Add("__pointMulit", kShape, 16 * kPixels, [] {
    return [flow = Floats(2 * kPixels), factor = 2.0f]() mutable {
      // In turns, so that the values stay in range.
      factor = 1.0f / factor;
      __pointMulit(flow.data(), factor, kSide, kSide);
    };
  });
  Add("__convertToFloat", kShape, 5 * kPixels, [] {
    return [src = Image(0.0), dst = std::vector<float>(kPixels)]() mutable {
      __convertToFloat(src.data(), dst.data(), kSide, kSide);
    };
  });
}

using Blur = int (*)(const unsigned char*, unsigned char*, int, int, int, int,
                     const unsigned short*);

void AddBlurs() {
  constexpr int kWidth = 1920;
  constexpr int kHeight = 1080;
  constexpr size_t kPlane = size_t{kWidth} * kHeight;
  // Kernels that sum up to 256, as those of gaussian_blur do; only their first halves are read.
  struct Member {
    const char* name;
    Blur blur;
    unsigned short weights[7];
  };
  static constexpr Member kMembers[] = {
      {"GaussianBlur3x3_u8", &GaussianBlur3x3_u8, {64, 128, 64}},
      {"GaussianBlur5x5_u8", &GaussianBlur5x5_u8, {16, 64, 96}},
      {"GaussianBlur7x7_u8", &GaussianBlur7x7_u8, {8, 28, 56, 72}},
      {"GaussianBlur9x9_u8", &GaussianBlur9x9_u8, {4, 14, 32, 48, 60}},
      {"GaussianBlur11x11_u8", &GaussianBlur11x11_u8, {2, 7, 17, 31, 44, 54}},
      {"GaussianBlur13x13_u8", &GaussianBlur13x13_u8, {1, 4, 10, 20, 32, 40, 42}}};
  for (const Member& member : kMembers) {
    Add(member.name, "1920x1080", 2 * kPlane, [&member] {
      return [&member, src = NoiseBuffer(kPlane), dst = std::vector<uint8_t>(kPlane)]() mutable {
        member.blur(src.data(), dst.data(), kWidth, kHeight, kWidth, kWidth, member.weights);
      };
    });
  }
}

void AddMatrices() {
  // Symmetric with a heavy diagonal.
  static const std::vector<double> kMatrix = [] {
    std::vector<double> a(36);
    for (size_t i = 0; i < 36; ++i) a[i] = i % 7 == 0 ? 20.0 : static_cast<double>(i / 6 + i % 6);
    return a;
  }();
  Add("getInvMat", "6x6", 0, [] {
    return [a = std::vector<float>(kMatrix.begin(), kMatrix.end()),
            out = std::vector<float>(36)]() mutable { getInvMat(a.data(), out.data(), 6); };
  });
  Add("LUP_Descomposition", "6x6", 0, [] {
    return [l = std::vector<double>(36), u = std::vector<double>(36),
            p = std::vector<int>(6)]() mutable {
      std::vector<double> a = kMatrix;
      LUP_Descomposition(a.data(), l.data(), u.data(), p.data());
    };
  });
  Add("LUP_Solve", "6x6", 0, [] {
    std::vector<double> a = kMatrix;
    std::vector<double> l(36);
    std::vector<double> u(36);
    std::vector<int> p(6);
    LUP_Descomposition(a.data(), l.data(), u.data(), p.data());
    return [=] {
      static constexpr double kRight[6] = {1, 2, 3, 4, 5, 6};
      delete[] LUP_Solve(l.data(), u.data(), p.data(), kRight);
    };
  });
  Add("transpose", "100x60", 0,
      [] { return [a = std::vector<double>(6000)]() mutable { transpose(a.data(), 100, 60); }; });
  Add("movedata", "100x60, one cycle", 0,
      [] { return [a = std::vector<double>(6000)]() mutable { movedata(a.data(), 1, 100, 60); }; });
  Add("getNext", "one index", 0,
      [] { return [i = 0]() mutable { benchmark::DoNotOptimize(getNext(i++ % 6000, 100, 60)); }; });
  Add("getPre", "one index", 0,
      [] { return [i = 0]() mutable { benchmark::DoNotOptimize(getPre(i++ % 6000, 100, 60)); }; });
}

const bool kAdded = [] {
  AddFlow();
  AddBlurs();
  AddMatrices();
  return true;
}();

}  // namespace
}  // namespace vantro::bench
