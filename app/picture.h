// A small RGB picture: to draw on, and to write as a PNG file.
#ifndef VANTRO_APP_PICTURE_H_
#define VANTRO_APP_PICTURE_H_

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vantro::app {

using Colour = std::array<uint8_t, 3>;  // red, green, blue

class Picture {
 public:
  Picture() = default;
  Picture(int width, int height, Colour background);
  // Copies rows of RGB samples that lie `row_pitch` bytes apart.
  Picture(int width, int height, const uint8_t* rows, int row_pitch);

  int width() const { return width_; }
  int height() const { return height_; }
  uint8_t* row(int y) { return pixels_.data() + static_cast<size_t>(y) * RowSize(); }
  const uint8_t* row(int y) const { return pixels_.data() + static_cast<size_t>(y) * RowSize(); }

  // Both leave out what lies outside the picture.
  void Paste(const Picture& other, int left, int top);
  // Capital letters, digits, blank, and : . - _ ( ) ?; others become question marks. `scale`
  // enlarges the 5 by 7 glyphs.
  void Write(std::string_view text, int left, int top, int scale, Colour colour);
  static int TextWidth(std::string_view text, int scale);
  static int TextHeight(int scale);

  // Fills the empty file `path`, which must exist. Throws RunError naming `shown_path`.
  void SavePng(const std::string& path, const std::string& shown_path) const;

 private:
  size_t RowSize() const { return static_cast<size_t>(width_) * 3; }

  int width_ = 0;
  int height_ = 0;
  std::vector<uint8_t> pixels_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_PICTURE_H_
