#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "app/photo/codecs.h"
#include "app/photo/jpeg_errors.h"

namespace vantro::app {
namespace {

constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr size_t kMostMarkerBytes = 65533;
constexpr int kMostSide = JPEG_MAX_DIMENSION;

class JpegEncoder {
 public:
  JpegEncoder() {
    encoder_.err = &errors_.manager;
    RunJpeg(errors_, [&] {
      jpeg_create_compress(&encoder_);
      jpeg_mem_dest(&encoder_, &data_, &size_);
    });
  }
  ~JpegEncoder() {
    jpeg_destroy_compress(&encoder_);
    std::free(data_);
  }
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  Bytes Write(const Photo& photo, const NoteSink& note) {
    const Raster& raster = photo.raster;
    Start(raster);
    WriteExif(photo.exif, note);
    if (!photo.icc.empty()) {
      RunJpeg(errors_, [&] {
        jpeg_write_icc_profile(&encoder_, photo.icc.data(),
                               static_cast<unsigned>(photo.icc.size()));
      });
    }
    WriteSamples(raster);
    RunJpeg(errors_, [&] { jpeg_finish_compress(&encoder_); });
    return {data_, data_ + size_};
  }

 private:
  void Start(const Raster& raster) {
    encoder_.image_width = static_cast<JDIMENSION>(raster.width);
    encoder_.image_height = static_cast<JDIMENSION>(raster.height);
    encoder_.input_components = raster.grey ? 1 : 3;
    encoder_.in_color_space = raster.grey ? JCS_GRAYSCALE : JCS_YCbCr;
    RunJpeg(errors_, [&] {
      jpeg_set_defaults(&encoder_);
      jpeg_set_quality(&encoder_, kQuality, TRUE);
      encoder_.comp_info[0].h_samp_factor = 1 << raster.chroma_shift_x;
      encoder_.comp_info[0].v_samp_factor = 1 << raster.chroma_shift_y;
      encoder_.raw_data_in = TRUE;
      encoder_.optimize_coding = TRUE;
      encoder_.dct_method = JDCT_ISLOW;
      jpeg_start_compress(&encoder_, TRUE);
    });
  }

  void WriteExif(const ExifBlock& exif, const NoteSink& note) {
    if (exif.empty()) return;
    constexpr std::string_view kMark("Exif\0\0", 6);
    if (exif.size() > kMostMarkerBytes - kMark.size()) {
      note("its Exif data are too large for a JPEG file and are left out");
      return;
    }
    Bytes marker(kMark.size() + exif.size());
    std::ranges::copy(exif, std::ranges::copy(kMark, marker.begin()).out);
    RunJpeg(errors_, [&] {
      jpeg_write_marker(&encoder_, kExifMarker, marker.data(),
                        static_cast<unsigned>(marker.size()));
    });
  }

  // In bands of whole blocks; what the picture does not fill repeats its last column and row.
  void WriteSamples(const Raster& raster) {
    const Plane* const planes[] = {&raster.luma, &raster.cb, &raster.cr};
    const int parts = encoder_.num_components;
    const int band_height[] = {DCTSIZE << raster.chroma_shift_y, DCTSIZE, DCTSIZE};
    Plane bands[3];
    JSAMPROW rows[3][2 * DCTSIZE];
    JSAMPARRAY band_rows[] = {rows[0], rows[1], rows[2]};
    for (int i = 0; i < parts; ++i) {
      const auto blocks = static_cast<int>(encoder_.comp_info[i].width_in_blocks);
      bands[i] = Plane((blocks + 1) * DCTSIZE, band_height[i]);
      for (int y = 0; y < band_height[i]; ++y) rows[i][y] = bands[i].row(y);
    }
    for (int top = 0; top < raster.height; top += band_height[0]) {
      for (int i = 0; i < parts; ++i) {
        const Plane& plane = *planes[i];
        const auto filled = static_cast<size_t>(plane.width);
        const auto rest = static_cast<size_t>(bands[i].width - plane.width);
        for (int y = 0; y < band_height[i]; ++y) {
          const int plane_y = (i == 0 ? top : top >> raster.chroma_shift_y) + y;
          const uint8_t* const from = plane.row(std::min(plane_y, plane.height - 1));
          std::memcpy(rows[i][y], from, filled);
          std::memset(rows[i][y] + filled, from[filled - 1], rest);
        }
      }
      RunJpeg(errors_, [&] {
        jpeg_write_raw_data(&encoder_, band_rows, static_cast<JDIMENSION>(band_height[0]));
      });
    }
  }

  JpegErrors errors_;
  jpeg_compress_struct encoder_{};
  unsigned char* data_ = nullptr;
  unsigned long size_ = 0;
};

}  // namespace

Bytes WriteJpeg(const Photo& photo, const NoteSink& note) {
  if (photo.raster.width > kMostSide || photo.raster.height > kMostSide) {
    throw RunError("a JPEG file holds at most " + std::to_string(kMostSide) +
                   " pixels a side; write a .png file instead");
  }
  JpegEncoder encoder;
  return encoder.Write(photo, note);
}

}  // namespace vantro::app
