#include "app/photo/exif.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace vantro::app {
namespace {

constexpr uint16_t kTagOrientation = 0x0112;
constexpr uint16_t kTagThumbnailOffset = 0x0201;
constexpr uint16_t kTagThumbnailSize = 0x0202;
constexpr uint16_t kTagExifDirectory = 0x8769;
constexpr uint16_t kTagWidth = 0xA002;
constexpr uint16_t kTagHeight = 0xA003;
constexpr uint16_t kTypeShort = 3;
constexpr uint16_t kTypeLong = 4;
constexpr size_t kEntrySize = 12;

// Reads and patches numbers of a TIFF structure in its own byte order, inside its bounds only.
class Tiff {
 public:
  static std::optional<Tiff> Open(ExifBlock& block) {
    if (block.size() < 8) return std::nullopt;
    const bool big = block[0] == 'M' && block[1] == 'M';
    if (!big && !(block[0] == 'I' && block[1] == 'I')) return std::nullopt;
    const Tiff tiff(block, big);
    if (tiff.Get(2, 2) != 42) return std::nullopt;
    return tiff;
  }

  // `count` bytes at `at`; nothing when they are not all inside.
  std::optional<uint32_t> Get(size_t at, size_t count) const {
    if (at > block_->size() || block_->size() - at < count) return std::nullopt;
    uint32_t value = 0;
    for (size_t i = 0; i < count; ++i) {
      value = value << 8 | (*block_)[at + (big_ ? i : count - 1 - i)];
    }
    return value;
  }
  void Set(size_t at, size_t count, uint32_t value) {
    for (size_t i = 0; i < count; ++i) {
      (*block_)[at + (big_ ? count - 1 - i : i)] = static_cast<uint8_t>(value >> (8 * i));
    }
  }

  size_t first_directory() const { return Get(4, 4).value_or(0); }

  // Where the next directory's offset is stored; nothing for a directory that is cut off.
  std::optional<size_t> NextLink(size_t directory) const {
    const auto count = directory == 0 ? std::nullopt : Get(directory, 2);
    if (!count) return std::nullopt;
    const size_t link = directory + 2 + *count * kEntrySize;
    return Get(link, 4) ? std::optional(link) : std::nullopt;
  }

  // Position of the entry's value when it is one number stored in place.
  struct Number {
    size_t at;
    size_t size;  // in bytes
  };
  std::optional<Number> Find(size_t directory, uint16_t tag) const {
    const auto count = directory == 0 ? std::nullopt : Get(directory, 2);
    for (size_t i = 0; count && i < *count; ++i) {
      const size_t entry = directory + 2 + i * kEntrySize;
      if (!Get(entry, kEntrySize - 8) || !Get(entry + 8, 4)) break;
      if (Get(entry, 2) != tag) continue;
      const uint32_t type = *Get(entry + 2, 2);
      if (Get(entry + 4, 4) != 1 || (type != kTypeShort && type != kTypeLong)) break;
      return Number{entry + 8, type == kTypeShort ? size_t{2} : size_t{4}};
    }
    return std::nullopt;
  }
  std::optional<uint32_t> Value(size_t directory, uint16_t tag) const {
    const auto number = Find(directory, tag);
    return number ? Get(number->at, number->size) : std::nullopt;
  }
  void SetValue(size_t directory, uint16_t tag, uint32_t value) {
    if (const auto number = Find(directory, tag)) Set(number->at, number->size, value);
  }

  void RemoveThumbnail() {
    const auto link = NextLink(first_directory());
    if (!link) return;
    const size_t directory = *Get(*link, 4);
    const auto offset = Value(directory, kTagThumbnailOffset);
    const auto size = Value(directory, kTagThumbnailSize);
    if (offset && size && *offset < block_->size()) {
      // The bytes go too: they may show what the picture no longer does.
      const size_t count = std::min<size_t>(*size, block_->size() - *offset);
      const bool overlaps_links = *offset <= *link + 3 || *offset < 8;
      if (!overlaps_links) {
        std::fill_n(block_->begin() + *offset, count, uint8_t{0});
        if (*offset + count == block_->size()) block_->resize(*offset);
      }
    }
    Set(*link, 4, 0);
  }

 private:
  Tiff(ExifBlock& block, bool big) : block_(&block), big_(big) {}

  ExifBlock* block_;
  bool big_;
};

}  // namespace

Orientation ExifOrientation(const ExifBlock& exif) {
  ExifBlock copy = exif;
  const auto tiff = Tiff::Open(copy);
  const uint32_t code =
      tiff ? tiff->Value(tiff->first_directory(), kTagOrientation).value_or(1) : 1;
  // "Row 0 is at the ..., column 0 at the ..." of the upright picture.
  switch (code) {
    case 2:  // top, right
      return {.flip_x = true};
    case 3:  // bottom, right
      return {.flip_x = true, .flip_y = true};
    case 4:  // bottom, left
      return {.flip_y = true};
    case 5:  // left, top
      return {.swap_axes = true};
    case 6:  // right, top
      return {.swap_axes = true, .flip_x = true};
    case 7:  // right, bottom
      return {.swap_axes = true, .flip_x = true, .flip_y = true};
    case 8:  // left, bottom
      return {.swap_axes = true, .flip_y = true};
    default:
      return {};
  }
}

void UpdateExif(ExifBlock& exif, int width, int height) {
  auto tiff = Tiff::Open(exif);
  if (!tiff) return;
  tiff->RemoveThumbnail();
  const size_t first = tiff->first_directory();
  tiff->SetValue(first, kTagOrientation, 1);
  const size_t directory = tiff->Value(first, kTagExifDirectory).value_or(0);
  tiff->SetValue(directory, kTagWidth, static_cast<uint32_t>(width));
  tiff->SetValue(directory, kTagHeight, static_cast<uint32_t>(height));
}

}  // namespace vantro::app
