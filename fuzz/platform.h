// The platform layer of the fuzzers: nothing is printed, and one variable sets all switches.
#ifndef VANTRO_FUZZ_PLATFORM_H_
#define VANTRO_FUZZ_PLATFORM_H_

namespace vantro::fuzz {

extern bool switches_on;

}  // namespace vantro::fuzz

#endif  // VANTRO_FUZZ_PLATFORM_H_
