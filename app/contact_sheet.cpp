#include "app/contact_sheet.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vantro::app {
namespace {

constexpr int kLeastPitch = 230;  // room for a caption
constexpr int kGap = 8;
constexpr int kTextScale = 2;
constexpr Colour kPaper = {24, 24, 24};
constexpr Colour kInk = {235, 235, 235};

}  // namespace

ContactSheet::ContactSheet(const FrameShape& shape, const ColourInfo& colour,
                           AVRational pixel_shape)
    : thumbnails_(shape, colour, pixel_shape, kSheetCellWidth, kSheetCellHeight) {}

void ContactSheet::AddBefore(int64_t number, double seconds, const uint8_t* picture) {
  if (number % step_ != 0) return;
  if (cells_.size() == 2 * kSheetColumns) {
    step_ *= 2;
    std::erase_if(cells_, [this](const Cell& cell) { return cell.number % step_ != 0; });
    if (number % step_ != 0) return;
  }
  cells_.push_back({number, seconds, thumbnails_.Make(picture), {}});
}

void ContactSheet::AddAfter(int64_t number, const uint8_t* picture) {
  const auto cell = std::ranges::find(cells_, number, &Cell::number);
  if (cell != cells_.end()) cell->after = thumbnails_.Make(picture);
}

Picture ContactSheet::Draw() const {
  std::vector<SheetColumn> columns(std::min(kSheetColumns, cells_.size()));
  for (size_t i = 0; i < columns.size(); ++i) {
    // Evenly from the first cell to the last.
    const Cell& cell =
        cells_[columns.size() == 1 ? 0 : i * (cells_.size() - 1) / (columns.size() - 1)];
    char caption[64];
    const long long tenths = std::llround(std::max(cell.seconds, 0.0) * 10);
    std::snprintf(caption, sizeof(caption), "%lld:%02lld.%lld FRAME %lld", tenths / 600,
                  tenths / 10 % 60, tenths % 10, static_cast<long long>(cell.number));
    columns[i] = {caption, cell.before, cell.after};
  }
  return DrawSheet(columns);
}

Picture DrawSheet(const std::vector<SheetColumn>& columns) {
  int cell_width = kLeastPitch - kGap;
  int cell_height = 1;
  for (const SheetColumn& column : columns) {
    cell_width = std::max(cell_width, column.before.width());
    cell_height = std::max(cell_height, column.before.height());
  }
  const int text_height = Picture::TextHeight(kTextScale);
  const int label_width = Picture::TextWidth("BEFORE", kTextScale) + 2 * kGap;
  const int pitch = cell_width + kGap;
  const int before_top = text_height + 2 * kGap;
  const int after_top = before_top + cell_height + kGap;
  Picture sheet(label_width + static_cast<int>(columns.size()) * pitch,
                after_top + cell_height + kGap, kPaper);
  const int middle = (cell_height - text_height) / 2;
  sheet.Write("BEFORE", kGap, before_top + middle, kTextScale, kInk);
  sheet.Write("AFTER", kGap, after_top + middle, kTextScale, kInk);
  for (size_t i = 0; i < columns.size(); ++i) {
    const SheetColumn& column = columns[i];
    const int left = label_width + static_cast<int>(i) * pitch;
    const auto letters = static_cast<size_t>(cell_width / Picture::TextWidth("0", kTextScale));
    sheet.Write(column.caption.substr(0, letters), left, kGap, kTextScale, kInk);
    sheet.Paste(column.before, left, before_top);
    sheet.Paste(column.after, left, after_top);
  }
  return sheet;
}

}  // namespace vantro::app
