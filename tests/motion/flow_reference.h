// The optical flow written out pixel by pixel, one formula a function, without regard to speed.
#ifndef VANTRO_TESTS_MOTION_FLOW_REFERENCE_H_
#define VANTRO_TESTS_MOTION_FLOW_REFERENCE_H_

#include <cstdint>
#include <vector>

namespace vantro::test {

using Floats = std::vector<float>;

struct FlowPlanes {
  Floats dx;
  Floats dy;
};

// Five coefficients a pixel.
Floats ExpandReference(const Floats& image, int width, int height, int n, double sigma);

// Five terms a pixel, for the rows first to end - 1; the others are 0.
Floats TermsReference(const Floats& r0, const Floats& r1, const Floats& flow, int width,
                      int height);

// The field after one averaging step; `terms` are refreshed on the way if `r0` is not null.
Floats BoxReference(Floats* terms, int width, int height, int block, const Floats* r0 = nullptr,
                    const Floats* r1 = nullptr);

// Pyramids of up to `levels` reduced levels at half size, and the flow from `first` to `second`.
FlowPlanes FlowReference(const std::vector<uint8_t>& first, const std::vector<uint8_t>& second,
                         int width, int height, int levels);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_MOTION_FLOW_REFERENCE_H_
