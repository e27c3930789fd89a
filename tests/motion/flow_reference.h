// The steps of the optical flow written out pixel by pixel, one formula a function, without regard
// to speed.
#ifndef VANTRO_TESTS_MOTION_FLOW_REFERENCE_H_
#define VANTRO_TESTS_MOTION_FLOW_REFERENCE_H_

#include <vector>

namespace vantro::test {

using Floats = std::vector<float>;

// Five coefficients a pixel, for reach 7 and sigma 1.5.
Floats ExpandReference(const Floats& image, int width, int height);

// Five terms a pixel, for the rows first to end - 1; the others are 0.
Floats TermsReference(const Floats& r0, const Floats& r1, const Floats& flow, int width,
                      int height);

// The field after one averaging step; `terms` are refreshed on the way if `r0` is not null.
Floats BoxReference(Floats* terms, int width, int height, int block, const Floats* r0 = nullptr,
                    const Floats* r1 = nullptr);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_MOTION_FLOW_REFERENCE_H_
