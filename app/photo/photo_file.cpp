#include "app/photo/photo_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>

#include "app/photo/codecs.h"

namespace vantro::app {
namespace {

using FilePtr = std::unique_ptr<FILE, int (*)(FILE*)>;

constexpr uintmax_t kMostFileBytes = uintmax_t{1} << 30;

bool HasAt(const Bytes& file, size_t at, std::string_view mark) {
  return file.size() >= at + mark.size() && std::memcmp(&file[at], mark.data(), mark.size()) == 0;
}

Bytes ReadBytes(const std::string& path) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (status.type() == fs::file_type::not_found) throw RunError("no such file; check the path");
  if (error) throw RunError(error.message());
  if (fs::is_directory(status)) throw RunError("is a folder, not a picture");
  if (!fs::is_regular_file(status)) throw RunError("is not a regular file");
  const FilePtr file(std::fopen(path.c_str(), "rbe"), &std::fclose);
  if (file == nullptr) throw RunError(std::strerror(errno));
  const uintmax_t size = fs::file_size(path, error);
  if (error) throw RunError(error.message());
  if (size > kMostFileBytes) throw RunError("the file is too large for a picture");
  Bytes bytes(static_cast<size_t>(size));
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
  if (std::ferror(file.get()) != 0) throw RunError(std::strerror(errno));
  return bytes;
}

StoredPhoto Decode(const Bytes& file, const NoteSink& note) {
  if (file.empty()) throw RunError("the file is empty");
  if (HasAt(file, 0, "\xFF\xD8\xFF")) return ReadJpeg(file);
  if (HasAt(file, 0, "\x89PNG\r\n\x1A\n")) return ReadPng(file, note);
  if (HasAt(file, 0, "RIFF") && HasAt(file, 8, "WEBP")) return ReadWebp(file);
  if (HasAt(file, 4, "ftyp")) return ReadHeif(file);
  throw RunError(kNoPicture);
}

}  // namespace

std::optional<PhotoKind> KindOfName(const std::string& path) {
  std::string ending = std::filesystem::path(path).extension().string();
  std::ranges::transform(ending, ending.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  if (ending == ".jpg" || ending == ".jpeg" || ending == ".jpe") return PhotoKind::kJpeg;
  if (ending == ".png") return PhotoKind::kPng;
  if (ending == ".webp") return PhotoKind::kWebp;
  return std::nullopt;
}

Photo ReadPhoto(const std::string& path, const NoteSink& note) {
  StoredPhoto stored = Decode(ReadBytes(path), note);
  Photo photo = std::move(stored.photo);
  photo.raster = Turned(std::move(photo.raster), stored.orientation);
  UpdateExif(photo.exif, photo.raster.width, photo.raster.height);
  if (!photo.icc.empty() && !ProfileFits(photo.icc, photo.raster.grey)) {
    note("its colour profile is for other pictures than this one and is left out");
    photo.icc.clear();
  }
  return photo;
}

Bytes EncodePhoto(Photo photo, PhotoKind kind, const NoteSink& note) {
  UpdateExif(photo.exif, photo.raster.width, photo.raster.height);
  switch (kind) {
    case PhotoKind::kPng:
      return WritePng(photo);
    case PhotoKind::kWebp:
      return WriteWebp(photo, note);
    case PhotoKind::kJpeg:
      break;
  }
  if (!photo.raster.alpha.empty()) {
    note("JPEG files hold no transparency; the picture is put on white");
    FlattenOnWhite(photo.raster);
  }
  return WriteJpeg(photo, note);
}

void WriteBytes(const Bytes& bytes, const std::string& path, const std::string& shown_path) {
  FilePtr file(std::fopen(path.c_str(), "r+be"), &std::fclose);
  if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size() ||
      std::fclose(file.release()) != 0) {
    throw RunError(shown_path + ": cannot be written: " + std::strerror(errno));
  }
}

ExifBlock WithoutExifMark(const uint8_t* data, size_t size) {
  constexpr std::string_view kMark("Exif\0\0", 6);
  const bool marked = size >= kMark.size() && std::memcmp(data, kMark.data(), kMark.size()) == 0;
  return {data + (marked ? kMark.size() : 0), data + size};
}

// ICC.1:2010, 7.2: the colour space of the device stands at byte 16 of a header of 128 bytes.
bool ProfileFits(const Bytes& icc, bool grey) {
  return icc.size() > 128 && HasAt(icc, 36, "acsp") && HasAt(icc, 16, grey ? "GRAY" : "RGB ");
}

}  // namespace vantro::app
