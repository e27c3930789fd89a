// Picture files: which kinds there are, reading any of them, writing those that can be written.
#ifndef VANTRO_APP_PHOTO_PHOTO_FILE_H_
#define VANTRO_APP_PHOTO_PHOTO_FILE_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/failure.h"
#include "app/photo/exif.h"
#include "app/photo/raster.h"

namespace vantro::app {

using Bytes = std::vector<uint8_t>;

// How a PNG file without a profile describes its colours, in the file's own units.
struct PngColours {
  int srgb_intent = -1;  // -1: not said to be sRGB
  int gamma = 0;         // 0: not said
  bool has_primaries = false;
  std::array<int, 8> primaries{};  // x and y of white, red, green, blue
};

// A picture with what its file says about it.
struct Photo {
  Raster raster;   // upright
  Bytes icc;       // the colour profile; empty for none
  ExifBlock exif;  // empty for none
  PngColours png_colours;
  bool lossless = false;  // the file holds exactly these colours
};

enum class PhotoKind { kJpeg, kPng, kWebp };

// The kind that a name ending stands for; nothing when this program does not write such files.
std::optional<PhotoKind> KindOfName(const std::string& path);

// Reads a JPEG, PNG, WebP, HEIC or AVIF file; its content tells which, not its name. The picture is
// turned upright, and its Exif block made to say so. Throws RunError with the cause alone, without
// the file's name.
Photo ReadPhoto(const std::string& path, const NoteSink& note);

// The file of this kind, as bytes; what the kind cannot hold is left out with a note. Throws
// RunError with the cause alone.
Bytes EncodePhoto(Photo photo, PhotoKind kind, const NoteSink& note);

// Fills the empty file `path`, which must exist: one that an interrupt removed stays away. A
// failure is a RunError naming `shown_path`.
void WriteBytes(const Bytes& bytes, const std::string& path, const std::string& shown_path);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_PHOTO_FILE_H_
