// The guided filters and the box mean with any geometry, radius and regularisation.
#include "fuzz/operations.h"
#include "vantro/image.h"

namespace vantro::fuzz {
namespace {

struct Geometry {
  explicit Geometry(FuzzSource& in) : w(in.Size()), h(in.Size()), stride(in.Pitch(w)) {}
  int64_t elements() const { return Plane(w, h, stride); }
  // Null, or a work area of the size that the fixed-point filter asks for.
  uint8_t* WorkArea(FuzzSource& in) const {
    const int64_t half_w = (int64_t{w} + 1) / 2;
    return in.OneIn(2) ? nullptr : in.Bytes(4 * Plane(half_w, (int64_t{h} + 1) / 2, half_w));
  }
  int w, h, stride;
};

// The time that the float filters take grows with the radius.
int Radius(FuzzSource& in) { return in.OneIn(8) ? in.Int(INT32_MIN, 400) : in.Int(-1, 40); }

float Epsilon(FuzzSource& in) {
  return in.OneIn(4) ? in.Take<float>() : 0.001f * in.Take<uint8_t>();
}

constexpr Operation kOperations[] = {
    [](FuzzSource& in) {
      const Geometry g(in);
      const auto radius = static_cast<unsigned char>(in.OneIn(4) ? in.Int(0, 255) : in.Int(0, 10));
      const float eps = Epsilon(in);
      uint8_t* context = g.WorkArea(in);
      const uint8_t* guide = in.Bytes(g.elements());
      const uint8_t* input = in.Bytes(g.elements());
      guide_filter_acc(guide, input, g.w, g.h, radius, eps, in.Bytes(g.elements()), g.stride,
                       context);
    },
    [](FuzzSource& in) {
      const Geometry g(in);
      const auto radius = static_cast<unsigned char>(in.OneIn(4) ? in.Int(0, 255) : in.Int(0, 10));
      const int eps = in.OneIn(4) ? in.Any() : in.Int(0, 2000);
      const auto shift = static_cast<signed char>(in.OneIn(4) ? in.Int(-128, 127) : in.Int(0, 26));
      uint8_t* context = g.WorkArea(in);
      const uint8_t* guide = in.Bytes(g.elements());
      const auto* input = reinterpret_cast<const signed char*>(in.Bytes(g.elements()));
      auto* output = reinterpret_cast<signed char*>(in.Bytes(g.elements()));
      guided_filter_fast_detail_optm2(guide, input, g.w, g.h, radius, eps, shift, output, g.stride,
                                      context);
    },
    [](FuzzSource& in) {
      const Geometry g(in);
      const int radius = Radius(in);
      float* src = in.Floats(g.elements());
      float* dst = in.OneIn(4) ? src : in.Floats(g.elements());
      boxfilter_iter_f(nullptr, src, dst, g.w, g.h, g.stride, radius);
    },
    [](FuzzSource& in) {
      const Geometry g(in);
      const int radius = Radius(in);
      const float eps = Epsilon(in);
      float* guide = in.Floats(g.elements());
      const float* input = in.Floats(g.elements());
      guidedfilter_f(nullptr, in.Floats(g.elements()), guide, input, g.w, g.h, g.stride, radius,
                     eps);
    },
};

}  // namespace
}  // namespace vantro::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return vantro::fuzz::RunOperation(vantro::fuzz::kOperations, data, size);
}
