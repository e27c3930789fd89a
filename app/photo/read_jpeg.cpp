#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "app/photo/codecs.h"
#include "app/photo/colour.h"
#include "app/photo/jpeg_errors.h"

namespace vantro::app {
namespace {

constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr int kIccMarker = JPEG_APP0 + 2;
// A progressive file may ask for any number of passes over the whole picture.
constexpr int kMostScans = 500;

void StopAtTooManyScans(j_common_ptr codec) {
  const auto* const decoder = reinterpret_cast<j_decompress_ptr>(codec);
  if (decoder->input_scan_number <= kMostScans) return;
  auto& errors = *reinterpret_cast<JpegErrors*>(codec->err);
  std::snprintf(errors.text, sizeof(errors.text), "more than %d scans", kMostScans);
  std::longjmp(errors.escape, 1);
}

class JpegDecoder {
 public:
  explicit JpegDecoder(const Bytes& file) {
    decoder_.err = &errors_.manager;
    progress_.progress_monitor = &StopAtTooManyScans;
    RunJpeg(errors_, [&] {
      jpeg_create_decompress(&decoder_);
      decoder_.progress = &progress_;
      jpeg_mem_src(&decoder_, file.data(), file.size());
      jpeg_save_markers(&decoder_, kExifMarker, 0xFFFF);
      jpeg_save_markers(&decoder_, kIccMarker, 0xFFFF);
    });
  }
  ~JpegDecoder() { jpeg_destroy_decompress(&decoder_); }
  JpegDecoder(const JpegDecoder&) = delete;
  JpegDecoder& operator=(const JpegDecoder&) = delete;

  Photo Read() {
    RunJpeg(errors_, [&] { jpeg_read_header(&decoder_, TRUE); });
    CheckPictureSize(decoder_.image_width, decoder_.image_height);
    Photo photo;
    ReadMetadata(photo);
    switch (decoder_.jpeg_color_space) {
      case JCS_GRAYSCALE:
        photo.raster = ReadLines(JCS_GRAYSCALE);
        break;
      case JCS_YCbCr:
        photo.raster = HasOwnPlanes() ? ReadPlanes() : ReadYcc();
        break;
      case JCS_RGB:
        photo.raster = ReadLines(JCS_RGB);
        break;
      case JCS_CMYK:
      case JCS_YCCK:
        throw RunError("is a CMYK picture, for printing; convert it to RGB first");
      default:
        throw RunError("JPEG: the kind of colours is not known");
    }
    if (errors_.damage[0] != '\0') throw RunError("damaged: " + std::string(errors_.damage));
    return photo;
  }

 private:
  void ReadMetadata(Photo& photo) {
    for (const auto* marker = decoder_.marker_list; marker != nullptr; marker = marker->next) {
      if (marker->marker == kExifMarker && marker->data_length > 6 &&
          std::memcmp(marker->data, "Exif\0", 6) == 0) {
        photo.exif = WithoutExifMark(marker->data, marker->data_length);
        break;
      }
    }
    JOCTET* profile = nullptr;
    unsigned size = 0;
    bool has_profile = false;
    RunJpeg(errors_,
            [&] { has_profile = jpeg_read_icc_profile(&decoder_, &profile, &size) != FALSE; });
    if (!has_profile) return;
    const std::unique_ptr<JOCTET, decltype(&std::free)> owner(profile, &std::free);
    photo.icc.assign(profile, profile + size);
  }

  // Whether the chroma planes can be taken as they are stored.
  bool HasOwnPlanes() const {
    const jpeg_component_info* const parts = decoder_.comp_info;
    const auto chroma_single = [](const jpeg_component_info& part) {
      return part.h_samp_factor == 1 && part.v_samp_factor == 1;
    };
    return decoder_.num_components == 3 && parts[0].h_samp_factor <= 2 &&
           parts[0].v_samp_factor <= 2 && chroma_single(parts[1]) && chroma_single(parts[2]);
  }

  Raster ReadPlanes() {
    const int shift_x = decoder_.comp_info[0].h_samp_factor - 1;
    const int shift_y = decoder_.comp_info[0].v_samp_factor - 1;
    Raster raster(static_cast<int>(decoder_.image_width), static_cast<int>(decoder_.image_height),
                  false, shift_x, shift_y);
    Plane* const planes[] = {&raster.luma, &raster.cb, &raster.cr};
    decoder_.raw_data_out = TRUE;
    decoder_.dct_method = JDCT_ISLOW;
    RunJpeg(errors_, [&] { jpeg_start_decompress(&decoder_); });

    // libjpeg hands out whole blocks; a band is one row of the largest ones.
    Plane bands[3];
    JSAMPROW rows[3][2 * DCTSIZE];
    JSAMPARRAY band_rows[] = {rows[0], rows[1], rows[2]};
    const int band_height[] = {DCTSIZE << shift_y, DCTSIZE, DCTSIZE};
    for (int i = 0; i < 3; ++i) {
      const auto blocks = static_cast<int>(decoder_.comp_info[i].width_in_blocks);
      bands[i] = Plane((blocks + 1) * DCTSIZE, band_height[i]);
      for (int y = 0; y < band_height[i]; ++y) rows[i][y] = bands[i].row(y);
    }
    for (int top = 0; top < raster.height; top += band_height[0]) {
      RunJpeg(errors_, [&] {
        jpeg_read_raw_data(&decoder_, band_rows, static_cast<JDIMENSION>(band_height[0]));
      });
      for (int i = 0; i < 3; ++i) {
        Plane& plane = *planes[i];
        const int plane_top = i == 0 ? top : top >> shift_y;
        const int count = std::min(band_height[i], plane.height - plane_top);
        for (int y = 0; y < count; ++y) {
          std::memcpy(plane.row(plane_top + y), rows[i][y], static_cast<size_t>(plane.width));
        }
      }
    }
    Finish();
    return raster;
  }

  // Any other chroma resolution: libjpeg interpolates to full.
  Raster ReadYcc() {
    Start(JCS_YCbCr);
    Raster raster(static_cast<int>(decoder_.image_width), static_cast<int>(decoder_.image_height),
                  false, 0, 0);
    Plane line(3 * raster.width, 1);
    for (int y = 0; y < raster.height; ++y) {
      ReadLine(line);
      const uint8_t* const samples = line.row(0);
      for (int x = 0; x < raster.width; ++x) {
        raster.luma.row(y)[x] = samples[3 * x];
        raster.cb.row(y)[x] = samples[3 * x + 1];
        raster.cr.row(y)[x] = samples[3 * x + 2];
      }
    }
    Finish();
    return raster;
  }

  Raster ReadLines(J_COLOR_SPACE space) {
    Start(space);
    const int channels = space == JCS_GRAYSCALE ? 1 : 3;
    Raster raster(static_cast<int>(decoder_.image_width), static_cast<int>(decoder_.image_height),
                  channels == 1, 0, 0);
    Plane line(channels * raster.width, 1);
    for (int y = 0; y < raster.height; ++y) {
      ReadLine(line);
      StorePixels(line.row(0), channels, y, raster);
    }
    Finish();
    return raster;
  }

  void Start(J_COLOR_SPACE space) {
    decoder_.out_color_space = space;
    decoder_.dct_method = JDCT_ISLOW;
    RunJpeg(errors_, [&] { jpeg_start_decompress(&decoder_); });
  }
  void ReadLine(Plane& line) {
    JSAMPROW row = line.row(0);
    RunJpeg(errors_, [&] { jpeg_read_scanlines(&decoder_, &row, 1); });
  }
  void Finish() {
    RunJpeg(errors_, [&] { jpeg_finish_decompress(&decoder_); });
  }

  JpegErrors errors_;
  jpeg_decompress_struct decoder_{};
  jpeg_progress_mgr progress_{};
};

}  // namespace

StoredPhoto ReadJpeg(const Bytes& file) {
  JpegDecoder decoder(file);
  StoredPhoto stored;
  stored.photo = decoder.Read();
  stored.orientation = ExifOrientation(stored.photo.exif);
  return stored;
}

}  // namespace vantro::app
