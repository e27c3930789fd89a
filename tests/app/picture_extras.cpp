#include "tests/app/picture_extras.h"

#include <zlib.h>

#include <cstring>
#include <functional>
#include <vector>

#include "tests/app/program_run.h"

namespace vantro::test {
namespace {

Bytes FileBytes(const std::string& path) {
  const std::string file = ReadFile(path);
  return {file.begin(), file.end()};
}

uint32_t Number(const Bytes& file, size_t at, size_t count, bool big_endian) {
  uint32_t value = 0;
  for (size_t i = 0; i < count; ++i) {
    value = value << 8 | file.at(big_endian ? at + i : at + count - 1 - i);
  }
  return value;
}

Bytes Inflate(const Bytes& packed) {
  Bytes content(1 << 20);
  uLongf size = content.size();
  if (uncompress(content.data(), &size, packed.data(), packed.size()) != Z_OK) size = 0;
  content.resize(size);
  return content;
}

// Every chunk of a PNG file, or of a RIFF file.
void ForEachChunk(const Bytes& file, const std::function<void(std::string, Bytes)>& take) {
  const bool png = file.at(0) == 0x89;
  for (size_t at = png ? 8 : 12; at + 8 <= file.size();) {
    const size_t size = Number(file, png ? at : at + 4, 4, png);
    const size_t name = png ? at + 4 : at;
    const auto start = file.begin() + static_cast<ptrdiff_t>(at) + 8;
    take({file.begin() + static_cast<ptrdiff_t>(name),
          file.begin() + static_cast<ptrdiff_t>(name) + 4},
         {start, start + static_cast<ptrdiff_t>(size)});
    at += 8 + (png ? size + 4 : size + size % 2);
  }
}

PictureExtras JpegExtras(const Bytes& file) {
  PictureExtras extras;
  for (size_t at = 2; at + 4 <= file.size() && file[at + 1] != 0xDA;) {
    const size_t size = Number(file, at + 2, 2, true);
    const auto start = file.begin() + static_cast<ptrdiff_t>(at) + 4;
    const Bytes body(start, start + static_cast<ptrdiff_t>(size) - 2);
    if (file[at + 1] == 0xE1 && std::memcmp(body.data(), "Exif\0", 6) == 0) {
      extras.exif.assign(body.begin() + 6, body.end());
    } else if (file[at + 1] == 0xE2 && std::memcmp(body.data(), "ICC_PROFILE", 12) == 0) {
      extras.icc.insert(extras.icc.end(), body.begin() + 14, body.end());
    }
    at += 2 + size;
  }
  return extras;
}

}  // namespace

Bytes MakeProfile(bool grey) {
  // A header and one tag: enough for programs that only carry it along. The rest varies, since
  // libpng takes a profile that is packed into a few bytes for a broken one.
  Bytes profile(600);
  for (size_t i = 176; i < profile.size(); ++i) profile[i] = static_cast<uint8_t>(i * i >> 3);
  const auto put = [&](size_t at, const std::string& text) {
    std::memcpy(&profile[at], text.data(), text.size());
  };
  profile[2] = static_cast<uint8_t>(profile.size() >> 8);
  profile[3] = static_cast<uint8_t>(profile.size());
  profile[8] = 2;
  put(12, "mntr");
  put(16, grey ? "GRAY" : "RGB ");
  put(20, "XYZ ");
  put(36, "acsp");
  put(68, std::string("\x00\x00\xF6\xD6\x00\x01\x00\x00\x00\x00\xD3\x2D", 12));
  profile[131] = 1;
  put(132, "desc");
  profile[139] = 144;
  profile[143] = 32;
  put(144, std::string("desc\0\0\0\0\0\0\0\x05test", 16));
  return profile;
}

Bytes MakeExif(const ExifContent& content, bool big_endian) {
  Bytes exif;
  const auto number = [&](uint32_t value, size_t count) {
    for (size_t i = 0; i < count; ++i) {
      exif.push_back(static_cast<uint8_t>(value >> (8 * (big_endian ? count - 1 - i : i))));
    }
  };
  const auto entry = [&](uint32_t tag, uint32_t type, uint32_t count, uint32_t value) {
    number(tag, 2);
    number(type, 2);
    number(count, 4);
    number(value, type == 3 ? 2 : 4);
    if (type == 3) number(0, 2);
  };
  const auto note_size = static_cast<uint32_t>(content.note.size());
  const auto thumbnail_size = static_cast<uint32_t>(content.thumbnail.size());
  const uint32_t sub_directory = 8 + 2 + 2 * 12 + 4;
  const uint32_t note_at = sub_directory + 2 + 3 * 12 + 4;
  const uint32_t second_directory = note_at + note_size;
  const uint32_t thumbnail_at = second_directory + 2 + 2 * 12 + 4;
  exif.assign(2, big_endian ? 'M' : 'I');
  number(42, 2);
  number(8, 4);
  number(2, 2);
  entry(0x0112, 3, 1, static_cast<uint32_t>(content.orientation));
  entry(0x8769, 4, 1, sub_directory);
  number(second_directory, 4);
  number(3, 2);
  entry(0x927C, 7, note_size, note_at);
  entry(0xA002, 4, 1, static_cast<uint32_t>(content.width));
  entry(0xA003, 3, 1, static_cast<uint32_t>(content.height));
  number(0, 4);
  exif.insert(exif.end(), content.note.begin(), content.note.end());
  number(2, 2);
  entry(0x0201, 4, 1, thumbnail_at);
  entry(0x0202, 4, 1, thumbnail_size);
  number(0, 4);
  exif.insert(exif.end(), content.thumbnail.begin(), content.thumbnail.end());
  return exif;
}

ExifContent ParseExif(const Bytes& exif) {
  ExifContent content;
  if (exif.empty()) return content;
  const bool big = exif[0] == 'M';
  uint32_t directory = Number(exif, 4, 4, big);
  const auto text = [&](uint32_t at, uint32_t count) {
    const auto start = exif.begin() + at;
    return std::string(start, start + count);
  };
  uint32_t thumbnail_at = 0;
  std::vector<uint32_t> directories = {directory};
  for (size_t d = 0; d < directories.size(); ++d) {
    directory = directories[d];
    const uint32_t count = Number(exif, directory, 2, big);
    for (uint32_t i = 0; i < count; ++i) {
      const uint32_t at = directory + 2 + 12 * i;
      const uint32_t tag = Number(exif, at, 2, big);
      const uint32_t value = Number(exif, at + 8, Number(exif, at + 2, 2, big) == 3 ? 2 : 4, big);
      if (tag == 0x0112) content.orientation = static_cast<int>(value);
      if (tag == 0x8769) directories.push_back(value);
      if (tag == 0x927C) content.note = text(value, Number(exif, at + 4, 4, big));
      if (tag == 0xA002) content.width = static_cast<int>(value);
      if (tag == 0xA003) content.height = static_cast<int>(value);
      if (tag == 0x0201) thumbnail_at = value;
      if (tag == 0x0202) content.thumbnail = text(thumbnail_at, value);
    }
    const uint32_t next = Number(exif, directory + 2 + 12 * count, 4, big);
    if (next != 0) directories.push_back(next);
  }
  return content;
}

PictureExtras ReadExtras(const std::string& path) {
  const Bytes file = FileBytes(path);
  if (file.size() < 12) return {};
  if (file[0] == 0xFF) return JpegExtras(file);
  PictureExtras extras;
  ForEachChunk(file, [&](const std::string& name, const Bytes& body) {
    if (name == "ICCP") extras.icc = body;
    if (name == "EXIF" || name == "eXIf") extras.exif = body;
    if (name != "iCCP") return;
    // A name, a zero, a zero for deflate, the deflated profile.
    const size_t head = std::strlen(reinterpret_cast<const char*>(body.data())) + 2;
    extras.icc = Inflate({body.begin() + static_cast<ptrdiff_t>(head), body.end()});
  });
  return extras;
}

std::array<int, 2> JpegSampling(const std::string& path) {
  const Bytes file = FileBytes(path);
  for (size_t at = 2; at + 12 <= file.size(); at += 2 + Number(file, at + 2, 2, true)) {
    if (file[at + 1] == 0xC0 || file[at + 1] == 0xC2)
      return {file[at + 11] >> 4, file[at + 11] & 15};
  }
  return {};
}

}  // namespace vantro::test
