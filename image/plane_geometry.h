// What a geometry resizer is called with.
#ifndef VANTRO_IMAGE_PLANE_GEOMETRY_H_
#define VANTRO_IMAGE_PLANE_GEOMETRY_H_

#include <cstdint>

namespace vantro {

struct PlaneGeometry {
  const uint8_t* src;
  int src_width;
  int src_height;
  int src_stride;
  int dst_width;
  int dst_height;
  int dst_pitch;

  // Both planes are there, and their rows do not overlap.
  bool Drawable(const uint8_t* dst) const {
    return src != nullptr && dst != nullptr && src_width >= 1 && src_height >= 1 &&
           src_stride >= src_width && dst_width >= 1 && dst_height >= 1 && dst_pitch >= dst_width;
  }
  // Of a frame of two planes.
  bool has_chroma() const { return src_width >= 2 && src_height >= 2; }
  const uint8_t* chroma() const { return src + int64_t{src_height} * src_stride; }
};

}  // namespace vantro

#endif  // VANTRO_IMAGE_PLANE_GEOMETRY_H_
