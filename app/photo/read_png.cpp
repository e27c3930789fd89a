#include <algorithm>
#include <cstring>
#include <new>

#include "app/photo/codecs.h"
#include "app/photo/colour.h"
#include "app/photo/png_errors.h"

namespace vantro::app {
namespace {

constexpr png_byte kAnimation[] = "acTL";

struct Source {
  const Bytes& file;
  size_t at = 0;
};

void Take(png_structp png, png_bytep out, size_t count) {
  auto& source = *static_cast<Source*>(png_get_io_ptr(png));
  if (source.file.size() - source.at < count) png_error(png, "the file ends too early");
  std::memcpy(out, &source.file[source.at], count);
  source.at += count;
}

class PngDecoder {
 public:
  explicit PngDecoder(const Bytes& file)
      : source_{file},
        png_(
            png_create_read_struct(PNG_LIBPNG_VER_STRING, &errors_, &EscapePng, &IgnorePngWarning)),
        info_(png_ == nullptr ? nullptr : png_create_info_struct(png_)) {
    if (info_ == nullptr) {
      png_destroy_read_struct(&png_, nullptr, nullptr);
      throw std::bad_alloc();
    }
    png_set_read_fn(png_, &source_, &Take);
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_ALWAYS, kAnimation, 1);
  }
  ~PngDecoder() { png_destroy_read_struct(&png_, &info_, nullptr); }
  PngDecoder(const PngDecoder&) = delete;
  PngDecoder& operator=(const PngDecoder&) = delete;

  Photo Read(const NoteSink& note) {
    RunPng(errors_, [&] { png_read_info(png_, info_); });
    RefuseAnimation();
    CheckPictureSize(png_get_image_width(png_, info_), png_get_image_height(png_, info_));
    if (png_get_bit_depth(png_, info_) == 16) note("16 bits a sample are reduced to 8");
    RunPng(errors_, [&] { PrepareEightBit(); });

    const auto width = static_cast<int>(png_get_image_width(png_, info_));
    const auto height = static_cast<int>(png_get_image_height(png_, info_));
    const int channels = png_get_channels(png_, info_);
    Photo photo;
    photo.lossless = true;
    photo.raster = Raster(width, height, channels <= 2, 0, 0);
    if (channels % 2 == 0) photo.raster.alpha = Plane(width, height);

    // An interlaced picture is whole only after its last pass.
    Plane rows(channels * width, passes_ > 1 ? height : 1);
    for (int pass = 1; pass <= passes_; ++pass) {
      for (int y = 0; y < height; ++y) {
        uint8_t* const row = rows.row(passes_ > 1 ? y : 0);
        RunPng(errors_, [&] { png_read_row(png_, row, nullptr); });
        if (pass == passes_) StorePixels(row, channels, y, photo.raster);
      }
    }
    RunPng(errors_, [&] { png_read_end(png_, info_); });
    ReadMetadata(photo);
    return photo;
  }

 private:
  // PNG, third edition, 11.3.6.1: the animation control chunk begins with the number of frames.
  void RefuseAnimation() {
    png_unknown_chunkp chunks = nullptr;
    const int count = png_get_unknown_chunks(png_, info_, &chunks);
    for (int i = 0; i < count; ++i) {
      if (chunks[i].size >= 4 && png_get_uint_32(chunks[i].data) > 1) {
        throw RunError("is an animation, not a still picture");
      }
    }
  }

  void PrepareEightBit() {
    png_set_expand(png_);  // palettes, 1 to 4 bits, one transparent colour
    png_set_scale_16(png_);
    passes_ = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
  }

  void ReadMetadata(Photo& photo) {
    png_charp name = nullptr;
    int compression = 0;
    png_bytep profile = nullptr;
    png_uint_32 size = 0;
    if (png_get_iCCP(png_, info_, &name, &compression, &profile, &size) != 0) {
      photo.icc.assign(profile, profile + size);
    }
    PngColours& colours = photo.png_colours;
    if (photo.icc.empty()) {
      png_get_sRGB(png_, info_, &colours.srgb_intent);
      png_get_gAMA_fixed(png_, info_, &colours.gamma);
      auto& at = colours.primaries;
      colours.has_primaries = png_get_cHRM_fixed(png_, info_, &at[0], &at[1], &at[2], &at[3],
                                                 &at[4], &at[5], &at[6], &at[7]) != 0;
    }
    png_bytep exif = nullptr;
    png_uint_32 exif_size = 0;
    if (png_get_eXIf_1(png_, info_, &exif_size, &exif) != 0) {
      photo.exif = WithoutExifMark(exif, exif_size);
    }
  }

  PngErrors errors_;
  Source source_;
  png_structp png_;
  png_infop info_;
  int passes_ = 1;
};

}  // namespace

StoredPhoto ReadPng(const Bytes& file, const NoteSink& note) {
  PngDecoder decoder(file);
  StoredPhoto stored;
  stored.photo = decoder.Read(note);
  stored.orientation = ExifOrientation(stored.photo.exif);
  return stored;
}

}  // namespace vantro::app
