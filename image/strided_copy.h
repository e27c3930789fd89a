#ifndef VANTRO_IMAGE_STRIDED_COPY_H_
#define VANTRO_IMAGE_STRIDED_COPY_H_

#include <cstdint>

namespace vantro {

// out[i] = src[i * step]; the two do not overlap.
void CopyStrided(const uint8_t* src, int64_t step, int count, uint8_t* out);

// out[i * step] = src[i]; the bytes between are not written, which another thread may do meanwhile.
void ScatterStrided(const uint8_t* src, int count, int64_t step, uint8_t* out);

}  // namespace vantro

#endif  // VANTRO_IMAGE_STRIDED_COPY_H_
