#include "app/photo/colour.h"

#include <algorithm>

namespace vantro::app {
namespace {

// The weights of JFIF 1.02 (ITU-T T.871), in units of 1 / 65536.
constexpr int kHalf = 1 << 15;
constexpr int kCentre = 128 << 16;

uint8_t Clamped(int value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

void FromRgb(const uint8_t* pixels, int step, int width, uint8_t* luma, uint8_t* cb, uint8_t* cr) {
  for (int x = 0; x < width; ++x) {
    const int r = pixels[x * step];
    const int g = pixels[x * step + 1];
    const int b = pixels[x * step + 2];
    luma[x] = static_cast<uint8_t>((19595 * r + 38470 * g + 7471 * b + kHalf) >> 16);
    // One less than a half, so that the largest value stays below 256.
    cb[x] = static_cast<uint8_t>((-11059 * r - 21709 * g + 32768 * b + kCentre + kHalf - 1) >> 16);
    cr[x] = static_cast<uint8_t>((32768 * r - 27439 * g - 5329 * b + kCentre + kHalf - 1) >> 16);
  }
}

void ToRgb(const uint8_t* luma, const uint8_t* cb, const uint8_t* cr, int width, int step,
           uint8_t* pixels) {
  for (int x = 0; x < width; ++x) {
    const int u = cb[x] - 128;
    const int v = cr[x] - 128;
    pixels[x * step] = Clamped(luma[x] + ((91881 * v + kHalf) >> 16));
    pixels[x * step + 1] = Clamped(luma[x] + ((-22554 * u - 46802 * v + kHalf) >> 16));
    pixels[x * step + 2] = Clamped(luma[x] + ((116130 * u + kHalf) >> 16));
  }
}

}  // namespace

void StorePixels(const uint8_t* pixels, int channels, int y, Raster& raster) {
  const int width = raster.width;
  uint8_t* const luma = raster.luma.row(y);
  if (raster.grey) {
    for (int x = 0; x < width; ++x) luma[x] = pixels[x * channels];
  } else {
    FromRgb(pixels, channels, width, luma, raster.cb.row(y), raster.cr.row(y));
  }
  if (channels % 2 != 0) return;
  uint8_t* const alpha = raster.alpha.row(y);
  for (int x = 0; x < width; ++x) alpha[x] = pixels[x * channels + channels - 1];
}

void LoadPixels(const Raster& raster, int y, int channels, uint8_t* pixels, Plane& scratch) {
  const int width = raster.width;
  const uint8_t* const luma = raster.luma.row(y);
  if (raster.grey) {
    const int copies = channels >= 3 ? 3 : 1;
    for (int x = 0; x < width; ++x) std::fill_n(pixels + x * channels, copies, luma[x]);
  } else if (raster.chroma_shift_x == 0 && raster.chroma_shift_y == 0) {
    ToRgb(luma, raster.cb.row(y), raster.cr.row(y), width, channels, pixels);
  } else {
    if (scratch.width != width) scratch = Plane(width, 2);
    FullChromaRow(raster, raster.cb, y, scratch.row(0));
    FullChromaRow(raster, raster.cr, y, scratch.row(1));
    ToRgb(luma, scratch.row(0), scratch.row(1), width, channels, pixels);
  }
  if (channels % 2 != 0) return;
  const uint8_t* const alpha = raster.alpha.empty() ? nullptr : raster.alpha.row(y);
  for (int x = 0; x < width; ++x) {
    pixels[x * channels + channels - 1] = alpha == nullptr ? uint8_t{255} : alpha[x];
  }
}

}  // namespace vantro::app
