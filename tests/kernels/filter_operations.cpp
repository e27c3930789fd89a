// Guided filters and box means.
#include <algorithm>

#include "tests/kernels/operations.h"
#include "vantro/image.h"

namespace vantro::test {
namespace {

struct Plane {
  int width, height, stride;
  int64_t size() const { return Case::Plane(width, height, stride); }
};

Plane Draw(Case& c) {
  Plane p = {};
  p.width = c.Size(3);
  p.height = c.Int(3, 40);
  p.stride = c.Pitch(p.width);
  return p;
}

}  // namespace

const std::vector<Operation> kFilterOperations = {
    {"guide_filter_acc",
     [](Case& c) {
       const Plane p = Draw(c);
       const auto radius =
           static_cast<uint8_t>(c.Int(1, std::min({10, p.width / 2, p.height / 2})));
       const float eps = c.Float(0.0001f, 0.1f);
       const uint8_t* guide = c.In(p.size());
       const uint8_t* input = c.In(p.size());
       uint8_t* output = c.Out(p.size());
       c.Result(guide_filter_acc(guide, input, p.width, p.height, radius, eps, output, p.stride,
                                 nullptr));
     }},
    {"guided_filter_fast_detail_optm2",
     [](Case& c) {
       const Plane p = Draw(c);
       const auto radius =
           static_cast<uint8_t>(c.Int(1, std::min({10, p.width / 2, p.height / 2})));
       const int eps = c.Int(1, 2000);
       const auto shift = static_cast<signed char>(c.Int(0, 12));
       const uint8_t* guide = c.In(p.size());
       const auto* input = reinterpret_cast<const signed char*>(c.In(p.size()));
       auto* output = reinterpret_cast<signed char*>(c.Out(p.size()));
       c.Result(guided_filter_fast_detail_optm2(guide, input, p.width, p.height, radius, eps, shift,
                                                output, p.stride, nullptr));
     }},
    {"boxfilter_iter_f",
     [](Case& c) {
       const Plane p = Draw(c);
       const int radius = c.Int(0, 12);
       const float* src = c.FloatsIn(p.size(), -500.0f, 500.0f);
       float* dst = c.FloatsOut(p.size(), 0.0f, 1.0f);
       c.Result(boxfilter_iter_f(nullptr, src, dst, p.width, p.height, p.stride, radius));
     }},
    {"guidedfilter_f",
     [](Case& c) {
       const Plane p = Draw(c);
       const int radius = c.Int(1, 12);
       const float eps = c.Float(0.01f, 500.0f);
       float* output = c.FloatsOut(p.size(), 0.0f, 1.0f);
       float* guide = c.FloatsOut(p.size(), 0.0f, 255.0f);
       const float* input = c.FloatsIn(p.size(), 0.0f, 255.0f);
       guidedfilter_f(nullptr, output, guide, input, p.width, p.height, p.stride, radius, eps);
     }},
};

}  // namespace vantro::test
