#include "app/picture.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "app/failure.h"
#include "app/ffmpeg.h"

namespace vantro::app {
namespace {

constexpr int kGlyphWidth = 5;
constexpr int kGlyphHeight = 7;
constexpr int kAdvance = kGlyphWidth + 1;

// One row a byte, the leftmost pixel in bit 4.
struct Glyph {
  char letter;
  uint8_t rows[kGlyphHeight];
};
constexpr Glyph kGlyphs[] = {
    {'0', {0x0E, 0x11, 0x13, 0x15, 0x19, 0x11, 0x0E}},
    {'1', {0x04, 0x0C, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'2', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x08, 0x1F}},
    {'3', {0x1F, 0x02, 0x04, 0x02, 0x01, 0x11, 0x0E}},
    {'4', {0x02, 0x06, 0x0A, 0x12, 0x1F, 0x02, 0x02}},
    {'5', {0x1F, 0x10, 0x1E, 0x01, 0x01, 0x11, 0x0E}},
    {'6', {0x06, 0x08, 0x10, 0x1E, 0x11, 0x11, 0x0E}},
    {'7', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x08, 0x08}},
    {'8', {0x0E, 0x11, 0x11, 0x0E, 0x11, 0x11, 0x0E}},
    {'9', {0x0E, 0x11, 0x11, 0x0F, 0x01, 0x02, 0x0C}},
    {':', {0x00, 0x04, 0x04, 0x00, 0x04, 0x04, 0x00}},
    {'.', {0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x0C}},
    {'(', {0x02, 0x04, 0x08, 0x08, 0x08, 0x04, 0x02}},
    {')', {0x08, 0x04, 0x02, 0x02, 0x02, 0x04, 0x08}},
    {'-', {0x00, 0x00, 0x00, 0x1F, 0x00, 0x00, 0x00}},
    {'?', {0x0E, 0x11, 0x01, 0x02, 0x04, 0x00, 0x04}},
    {'_', {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x1F}},
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'B', {0x1E, 0x11, 0x11, 0x1E, 0x11, 0x11, 0x1E}},
    {'C', {0x0E, 0x11, 0x10, 0x10, 0x10, 0x11, 0x0E}},
    {'D', {0x1C, 0x12, 0x11, 0x11, 0x11, 0x12, 0x1C}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}},
    {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'G', {0x0E, 0x11, 0x10, 0x17, 0x11, 0x11, 0x0F}},
    {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'I', {0x0E, 0x04, 0x04, 0x04, 0x04, 0x04, 0x0E}},
    {'J', {0x07, 0x02, 0x02, 0x02, 0x02, 0x12, 0x0C}},
    {'K', {0x11, 0x12, 0x14, 0x18, 0x14, 0x12, 0x11}},
    {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'M', {0x11, 0x1B, 0x15, 0x15, 0x11, 0x11, 0x11}},
    {'N', {0x11, 0x11, 0x19, 0x15, 0x13, 0x11, 0x11}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'P', {0x1E, 0x11, 0x11, 0x1E, 0x10, 0x10, 0x10}},
    {'Q', {0x0E, 0x11, 0x11, 0x11, 0x15, 0x12, 0x0D}},
    {'R', {0x1E, 0x11, 0x11, 0x1E, 0x14, 0x12, 0x11}},
    {'S', {0x0F, 0x10, 0x10, 0x0E, 0x01, 0x01, 0x1E}},
    {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'U', {0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'V', {0x11, 0x11, 0x11, 0x11, 0x11, 0x0A, 0x04}},
    {'W', {0x11, 0x11, 0x11, 0x15, 0x15, 0x15, 0x0A}},
    {'X', {0x11, 0x11, 0x0A, 0x04, 0x0A, 0x11, 0x11}},
    {'Y', {0x11, 0x11, 0x11, 0x0A, 0x04, 0x04, 0x04}},
    {'Z', {0x1F, 0x01, 0x02, 0x04, 0x08, 0x10, 0x1F}},
};

// Null for a blank.
const Glyph* FindGlyph(char letter) {
  if (letter == ' ') return nullptr;
  const auto* found = std::ranges::find(kGlyphs, letter, &Glyph::letter);
  return found == std::end(kGlyphs) ? FindGlyph('?') : found;
}

}  // namespace

Picture::Picture(int width, int height, Colour background) : width_(width), height_(height) {
  pixels_.resize(RowSize() * static_cast<size_t>(height));
  for (size_t i = 0; i < pixels_.size(); ++i) pixels_[i] = background[i % 3];
}

Picture::Picture(int width, int height, const uint8_t* rows, int row_pitch)
    : width_(width), height_(height) {
  pixels_.resize(RowSize() * static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) {
    std::memcpy(row(y), rows + static_cast<ptrdiff_t>(y) * row_pitch, RowSize());
  }
}

void Picture::Paste(const Picture& other, int left, int top) {
  const int first = std::max(0, -left);
  const int columns = std::min(other.width_, width_ - left) - first;
  if (columns <= 0) return;
  for (int y = std::max(0, -top); y < other.height_ && top + y < height_; ++y) {
    std::memcpy(row(top + y) + 3 * (left + first), other.row(y) + 3 * first,
                3 * static_cast<size_t>(columns));
  }
}

void Picture::Write(std::string_view text, int left, int top, int scale, Colour colour) {
  const Picture dot(scale, scale, colour);
  for (const char letter : text) {
    const Glyph* glyph = FindGlyph(letter);
    for (int y = 0; glyph != nullptr && y < kGlyphHeight; ++y) {
      for (int x = 0; x < kGlyphWidth; ++x) {
        if ((glyph->rows[y] >> (kGlyphWidth - 1 - x) & 1) != 0) {
          Paste(dot, left + x * scale, top + y * scale);
        }
      }
    }
    left += kAdvance * scale;
  }
}

int Picture::TextWidth(std::string_view text, int scale) {
  return static_cast<int>(text.size()) * kAdvance * scale;
}
int Picture::TextHeight(int scale) { return kGlyphHeight * scale; }

void Picture::SavePng(const std::string& path, const std::string& shown_path) const {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_PNG);
  if (codec == nullptr) throw RunError(shown_path + ": FFmpeg's libraries have no PNG encoder");
  CodecPtr encoder(avcodec_alloc_context3(codec));
  if (encoder == nullptr) throw std::bad_alloc();
  encoder->width = width_;
  encoder->height = height_;
  encoder->pix_fmt = AV_PIX_FMT_RGB24;
  encoder->time_base = {1, 1};
  CheckFFmpeg(avcodec_open2(encoder.get(), codec, nullptr), shown_path);
  const FramePtr frame = NewPictureFrame(width_, height_, AV_PIX_FMT_RGB24);
  for (int y = 0; y < height_; ++y) {
    std::memcpy(frame->data[0] + static_cast<ptrdiff_t>(y) * frame->linesize[0], row(y), RowSize());
  }
  const PacketPtr packet = NewPacket();
  CheckFFmpeg(avcodec_send_frame(encoder.get(), frame.get()), shown_path);
  CheckFFmpeg(avcodec_receive_packet(encoder.get(), packet.get()), shown_path);

  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "r+b"), &std::fclose);
  const auto size = static_cast<size_t>(packet->size);
  if (file == nullptr || std::fwrite(packet->data, 1, size, file.get()) != size ||
      std::fflush(file.get()) != 0) {
    throw RunError(shown_path + ": cannot be written: " + std::strerror(errno));
  }
}

}  // namespace vantro::app
