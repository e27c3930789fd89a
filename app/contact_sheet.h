// A picture that shows some pictures before the effect and, below them, after it.
#ifndef VANTRO_APP_CONTACT_SHEET_H_
#define VANTRO_APP_CONTACT_SHEET_H_

#include <cstdint>
#include <string>
#include <vector>

#include "app/frame_convert.h"
#include "app/frame_format.h"
#include "app/frame_thumbnail.h"
#include "app/picture.h"

namespace vantro::app {

// At most this many stand side by side.
inline constexpr size_t kSheetColumns = 6;
inline constexpr int kSheetCellWidth = 320;
inline constexpr int kSheetCellHeight = 480;

// One column of a sheet; its pictures have the same size, at most that of a cell.
struct SheetColumn {
  std::string caption;
  Picture before;
  Picture after;
};
Picture DrawSheet(const std::vector<SheetColumn>& columns);

// Collects frames evenly spread over a video whose length need not be known: it keeps every n-th
// frame, and doubles n whenever it has too many.
class ContactSheet {
 public:
  ContactSheet(const FrameShape& shape, const ColourInfo& colour, AVRational pixel_shape);

  // The frame with this number (counted from 0) before the effect, and its time in seconds. Called
  // for every frame, in order.
  void AddBefore(int64_t number, double seconds, const uint8_t* picture);
  // The same frame after it.
  void AddAfter(int64_t number, const uint8_t* picture);

  Picture Draw() const;

 private:
  struct Cell {
    int64_t number;
    double seconds;
    Picture before;
    Picture after;
  };

  FrameThumbnails thumbnails_;
  int64_t step_ = 1;
  std::vector<Cell> cells_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_CONTACT_SHEET_H_
