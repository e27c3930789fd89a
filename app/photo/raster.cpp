#include "app/photo/raster.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "app/failure.h"

namespace vantro::app {
namespace {

// More than the largest camera sensors have; a hostile header does not get more memory than this.
constexpr int64_t kMostPixels = int64_t{1} << 28;
constexpr int64_t kMostSide = 65535;

constexpr uint8_t kNeutral = 128;

int Shifted(int size, int shift) { return (size + (1 << shift) - 1) >> shift; }

Raster WithFullChroma(Raster raster) {
  if (raster.grey || (raster.chroma_shift_x == 0 && raster.chroma_shift_y == 0)) return raster;
  Plane cb(raster.width, raster.height);
  Plane cr(raster.width, raster.height);
  for (int y = 0; y < raster.height; ++y) {
    FullChromaRow(raster, raster.cb, y, cb.row(y));
    FullChromaRow(raster, raster.cr, y, cr.row(y));
  }
  raster.cb = std::move(cb);
  raster.cr = std::move(cr);
  raster.chroma_shift_x = 0;
  raster.chroma_shift_y = 0;
  return raster;
}

void TurnInPlace(const Orientation& orientation, Plane& plane) {
  if (plane.empty()) return;
  Plane turned(orientation.swap_axes ? plane.height : plane.width,
               orientation.swap_axes ? plane.width : plane.height);
  TurnPlane(orientation, plane.row(0), plane.width, plane.width, plane.height, turned.row(0),
            turned.width);
  plane = std::move(turned);
}

void AppendRight(Plane& left, const Plane& right) {
  if (left.empty()) return;
  Plane both(left.width + right.width, left.height);
  for (int y = 0; y < left.height; ++y) {
    std::memcpy(both.row(y), left.row(y), static_cast<size_t>(left.width));
    std::memcpy(both.row(y) + left.width, right.row(y), static_cast<size_t>(right.width));
  }
  left = std::move(both);
}

void BlendTowards(uint8_t paper, const Plane& alpha, Plane& plane) {
  for (size_t i = 0; i < plane.samples.size(); ++i) {
    const int weight = alpha.samples[i];
    const int sum = plane.samples[i] * weight + paper * (255 - weight);
    plane.samples[i] = static_cast<uint8_t>((sum + 127) / 255);
  }
}

}  // namespace

Raster::Raster(int picture_width, int picture_height, bool is_grey, int shift_x, int shift_y)
    : width(picture_width),
      height(picture_height),
      grey(is_grey),
      chroma_shift_x(is_grey ? 0 : shift_x),
      chroma_shift_y(is_grey ? 0 : shift_y),
      luma(picture_width, picture_height) {
  if (grey) return;
  cb = Plane(Shifted(width, shift_x), Shifted(height, shift_y));
  cr = cb;
}

void CheckPictureSize(int64_t width, int64_t height) {
  const std::string size = std::to_string(width) + "x" + std::to_string(height);
  if (width < 1 || height < 1) throw RunError("a picture of " + size + " pixels is empty");
  if (width > kMostSide || height > kMostSide || width * height > kMostPixels) {
    throw RunError("the picture is too large: " + size + "; at most " + std::to_string(kMostSide) +
                   " a side and " + std::to_string(kMostPixels >> 20) + " megapixels are read");
  }
}

// The nearer sample counts three times, the farther one once, along each axis.
void FullChromaRow(const Raster& raster, const Plane& chroma, int y, uint8_t* out) {
  const bool half_x = raster.chroma_shift_x != 0;
  const int near = y >> raster.chroma_shift_y;
  const int beside = raster.chroma_shift_y == 0 ? near : (y & 1) != 0 ? near + 1 : near - 1;
  const uint8_t* const a = chroma.row(near);
  const uint8_t* const b = chroma.row(std::clamp(beside, 0, chroma.height - 1));
  if (!half_x) {
    for (int x = 0; x < raster.width; ++x)
      out[x] = static_cast<uint8_t>((3 * a[x] + b[x] + 2) >> 2);
    return;
  }
  const int last = chroma.width - 1;
  for (int x = 0; x < raster.width; ++x) {
    const int i = x >> 1;
    const int j = std::clamp((x & 1) != 0 ? i + 1 : i - 1, 0, last);
    const int nearer = 3 * a[i] + b[i];
    const int farther = 3 * a[j] + b[j];
    out[x] = static_cast<uint8_t>((3 * nearer + farther + 8) >> 4);
  }
}

Raster Turned(Raster raster, const Orientation& orientation) {
  if (orientation.upright()) return raster;
  // Chroma samples cover pairs counted from the left and from the top. Counted from the other end
  // of an odd side, the pairs are others.
  const bool from_right = orientation.swap_axes ? orientation.flip_y : orientation.flip_x;
  const bool from_bottom = orientation.swap_axes ? orientation.flip_x : orientation.flip_y;
  if ((from_right && raster.chroma_shift_x != 0 && raster.width % 2 != 0) ||
      (from_bottom && raster.chroma_shift_y != 0 && raster.height % 2 != 0)) {
    raster = WithFullChroma(std::move(raster));
  }
  for (Plane* plane : {&raster.luma, &raster.cb, &raster.cr, &raster.alpha}) {
    TurnInPlace(orientation, *plane);
  }
  if (orientation.swap_axes) {
    std::swap(raster.width, raster.height);
    std::swap(raster.chroma_shift_x, raster.chroma_shift_y);
  }
  return raster;
}

Raster SideBySide(Raster left, Raster right) {
  if (left.width % 2 != 0 && left.chroma_shift_x != 0) {
    left = WithFullChroma(std::move(left));
    right = WithFullChroma(std::move(right));
  }
  AppendRight(left.luma, right.luma);
  AppendRight(left.cb, right.cb);
  AppendRight(left.cr, right.cr);
  AppendRight(left.alpha, right.alpha);
  left.width = left.luma.width;
  return left;
}

void FlattenOnWhite(Raster& raster) {
  if (raster.alpha.empty()) return;
  BlendTowards(255, raster.alpha, raster.luma);
  BlendTowards(kNeutral, raster.alpha, raster.cb);
  BlendTowards(kNeutral, raster.alpha, raster.cr);
  raster.alpha = {};
}

}  // namespace vantro::app
