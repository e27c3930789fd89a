#include <cstring>
#include <new>

#include "app/photo/codecs.h"
#include "app/photo/colour.h"
#include "app/photo/png_errors.h"

namespace vantro::app {
namespace {

// Of 9: half the time of the default, for a file that is a few per cent larger.
constexpr int kCompression = 4;

// What libpng hands over. It is C code, so memory that runs out is remembered, not thrown.
struct Sink {
  Bytes bytes;
  bool failed = false;
};

void Put(png_structp png, png_bytep data, size_t count) {
  auto& sink = *static_cast<Sink*>(png_get_io_ptr(png));
  try {
    sink.bytes.insert(sink.bytes.end(), data, data + count);
  } catch (const std::bad_alloc&) {
    sink.failed = true;
  }
  if (sink.failed) png_error(png, "not enough memory");
}

void Flush(png_structp) {}

class PngEncoder {
 public:
  PngEncoder()
      : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, &errors_, &EscapePng,
                                     &IgnorePngWarning)),
        info_(png_ == nullptr ? nullptr : png_create_info_struct(png_)) {
    if (info_ == nullptr) {
      png_destroy_write_struct(&png_, nullptr);
      throw std::bad_alloc();
    }
    png_set_write_fn(png_, &sink_, &Put, &Flush);
    // A profile that libpng finds fault with is left out, not an error.
    png_set_benign_errors(png_, 1);
    png_set_compression_level(png_, kCompression);
  }
  ~PngEncoder() { png_destroy_write_struct(&png_, &info_); }
  PngEncoder(const PngEncoder&) = delete;
  PngEncoder& operator=(const PngEncoder&) = delete;

  Bytes Write(const Photo& photo) {
    const Raster& raster = photo.raster;
    const bool opaque = raster.alpha.empty();
    const int channels = (raster.grey ? 1 : 3) + (opaque ? 0 : 1);
    constexpr int kTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                              PNG_COLOR_TYPE_RGB_ALPHA};
    ExifBlock exif = photo.exif;  // libpng takes it without const
    RunPng(errors_, [&] {
      png_set_IHDR(png_, info_, static_cast<png_uint_32>(raster.width),
                   static_cast<png_uint_32>(raster.height), 8, kTypes[channels - 1],
                   PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
      if (!photo.icc.empty()) {
        png_set_iCCP(png_, info_, "ICC profile", PNG_COMPRESSION_TYPE_BASE, photo.icc.data(),
                     static_cast<png_uint_32>(photo.icc.size()));
      }
      const PngColours& colours = photo.png_colours;
      if (colours.srgb_intent >= 0) png_set_sRGB(png_, info_, colours.srgb_intent);
      if (colours.gamma > 0) png_set_gAMA_fixed(png_, info_, colours.gamma);
      if (colours.has_primaries) {
        const auto& at = colours.primaries;
        png_set_cHRM_fixed(png_, info_, at[0], at[1], at[2], at[3], at[4], at[5], at[6], at[7]);
      }
      if (!exif.empty()) {
        png_set_eXIf_1(png_, info_, static_cast<png_uint_32>(exif.size()), exif.data());
      }
      png_write_info(png_, info_);
    });
    Plane row(channels * raster.width, 1);
    Plane scratch;
    for (int y = 0; y < raster.height; ++y) {
      LoadPixels(raster, y, channels, row.row(0), scratch);
      RunPng(errors_, [&] { png_write_row(png_, row.row(0)); });
    }
    RunPng(errors_, [&] { png_write_end(png_, nullptr); });
    return std::move(sink_.bytes);
  }

 private:
  PngErrors errors_;
  Sink sink_;
  png_structp png_;
  png_infop info_;
};

}  // namespace

Bytes WritePng(const Photo& photo) {
  PngEncoder encoder;
  return encoder.Write(photo);
}

}  // namespace vantro::app
