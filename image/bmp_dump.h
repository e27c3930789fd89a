// Dumps of frames and masks for the stages: the exported writers without their C++ strings, which
// may throw. A dump that cannot be written prints its message and changes nothing else.
#ifndef VANTRO_IMAGE_BMP_DUMP_H_
#define VANTRO_IMAGE_BMP_DUMP_H_

#include <cstdint>

#include "vantro/vantro.h"

namespace vantro {

// Dumps the picture in `yuv` of the record, `stride` columns of it.
void DumpFrame(const char* path, const Vantro_t& frame);

// Dumps a plane of width * height bytes without gaps.
void DumpGrayImage(const char* path, const uint8_t* pixels, int width, int height);

}  // namespace vantro

#endif  // VANTRO_IMAGE_BMP_DUMP_H_
