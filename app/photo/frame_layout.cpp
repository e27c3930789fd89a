#include "app/photo/frame_layout.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace vantro::app {
namespace {

constexpr uint8_t kNeutral = 128;

// One chroma row of a frame: pairs of Cb and Cr, each for two columns.
struct ChromaRow {
  explicit ChromaRow(int width)
      : cb(static_cast<size_t>(width / 2), kNeutral),
        cr(static_cast<size_t>(width / 2), kNeutral) {}
  std::vector<uint8_t> cb;
  std::vector<uint8_t> cr;
};

// Where the samples of one chroma row lie in a frame.
struct ChromaPlaces {
  ChromaPlaces(const FrameShape& shape, int row) {
    const ptrdiff_t stride = shape.stride;
    if (shape.packed()) {  // U Y V Y
      start = row * 2 * stride;
      cr = 2;
      step = 4;
    } else {
      start = (shape.height + row) * stride;
      cb = shape.format.code == VANTRO_FORMAT_NV21 ? 1 : 0;
      cr = 1 - cb;
    }
  }
  ptrdiff_t start;
  int cb = 0;
  int cr = 1;
  int step = 2;
};

// Rows of luma that share a chroma row, as a shift.
int LayoutShift(const FrameShape& shape) { return shape.packed() ? 0 : 1; }

// The part of `plane` that falls on sample `row` of the layout, each column pair averaged.
void AverageRow(const Raster& raster, const Plane& plane, int row, int layout_shift,
                std::vector<uint8_t>& out) {
  // First and last row of the plane that the layout's row covers.
  const int top = (row << layout_shift) >> raster.chroma_shift_y;
  const int bottom = ((row << layout_shift) + layout_shift) >> raster.chroma_shift_y;
  const uint8_t* const a = plane.row(std::min(top, plane.height - 1));
  const uint8_t* const b = plane.row(std::min(bottom, plane.height - 1));
  const int count = static_cast<int>(out.size());
  if (raster.chroma_shift_x != 0) {
    for (int i = 0; i < count; ++i)
      out[static_cast<size_t>(i)] = static_cast<uint8_t>((a[i] + b[i] + 1) >> 1);
    return;
  }
  const int whole = plane.width / 2;
  for (int i = 0; i < whole; ++i) {
    const int sum = a[2 * i] + a[2 * i + 1] + b[2 * i] + b[2 * i + 1];
    out[static_cast<size_t>(i)] = static_cast<uint8_t>((sum + 2) >> 2);
  }
  if (whole < count) {
    out[static_cast<size_t>(whole)] = static_cast<uint8_t>((a[2 * whole] + b[2 * whole] + 1) >> 1);
  }
}

void AverageRows(const Raster& raster, int row, int layout_shift, ChromaRow& out) {
  if (raster.grey) return;
  AverageRow(raster, raster.cb, row, layout_shift, out.cb);
  AverageRow(raster, raster.cr, row, layout_shift, out.cr);
}

// Where the frame's chroma row no longer holds what was stored, row `y` of the picture's chroma
// takes it. Stored neutral chroma tells nothing, and the picture takes that too.
void TakeChangedChroma(const ChromaRow& stored, const FrameShape& shape, const uint8_t* frame,
                       int row, int y, Raster& raster) {
  const ChromaPlaces places(shape, row);
  const int column_shift = 1 - raster.chroma_shift_x;
  uint8_t* const cb = raster.cb.row(y);
  uint8_t* const cr = raster.cr.row(y);
  for (int x = 0; x < raster.cb.width; ++x) {
    const int column = x >> column_shift;
    const auto i = static_cast<size_t>(column);
    const uint8_t* const pair = frame + places.start + static_cast<ptrdiff_t>(column) * places.step;
    const bool same = pair[places.cb] == stored.cb[i] && pair[places.cr] == stored.cr[i];
    const bool neutral = stored.cb[i] == kNeutral && stored.cr[i] == kNeutral;
    if (same && !neutral) continue;
    cb[x] = pair[places.cb];
    cr[x] = pair[places.cr];
  }
}

uint8_t* LumaRow(const FrameShape& shape, uint8_t* frame, int y) {
  return frame + static_cast<ptrdiff_t>(y) * shape.stride * (shape.packed() ? 2 : 1) +
         (shape.packed() ? 1 : 0);
}

}  // namespace

FrameShape FrameShapeOf(const Raster& raster, const FrameFormat& format) {
  FrameShape shape;
  shape.format = format;
  shape.width = (raster.width + 1) & ~1;
  shape.height = (raster.height + 1) & ~1;
  shape.stride = FFALIGN(shape.width, 64);
  return shape;
}

void StoreFrame(const Raster& raster, const FrameShape& shape, uint8_t* frame) {
  const int step = shape.packed() ? 2 : 1;
  for (int y = 0; y < shape.height; ++y) {
    const uint8_t* const from = raster.luma.row(std::min(y, raster.height - 1));
    uint8_t* const to = LumaRow(shape, frame, y);
    for (int x = 0; x < raster.width; ++x) to[x * step] = from[x];
    if (raster.width < shape.width) to[raster.width * step] = from[raster.width - 1];
  }
  const int layout_shift = LayoutShift(shape);
  ChromaRow chroma(shape.width);
  for (int row = 0; row < shape.height >> layout_shift; ++row) {
    AverageRows(raster, row, layout_shift, chroma);
    const ChromaPlaces places(shape, row);
    uint8_t* at = frame + places.start;
    for (size_t i = 0; i < chroma.cb.size(); ++i, at += places.step) {
      at[places.cb] = chroma.cb[i];
      at[places.cr] = chroma.cr[i];
    }
  }
}

void TakeRenderedFrame(const FrameShape& shape, const uint8_t* frame, Raster& raster) {
  const int step = shape.packed() ? 2 : 1;
  for (int y = 0; y < raster.height; ++y) {
    const uint8_t* const from = LumaRow(shape, const_cast<uint8_t*>(frame), y);
    uint8_t* const to = raster.luma.row(y);
    for (int x = 0; x < raster.width; ++x) to[x] = from[x * step];
  }
  if (raster.grey) return;

  // Two rows of luma at a time: no chroma sample of the layout or of the picture reaches further.
  const int layout_shift = LayoutShift(shape);
  ChromaRow stored[2] = {ChromaRow(shape.width), ChromaRow(shape.width)};
  for (int top = 0; top < shape.height; top += 2) {
    const int first = top >> layout_shift;
    const int last = (top + 1) >> layout_shift;
    for (int row = first; row <= last; ++row) {
      AverageRows(raster, row, layout_shift, stored[row - first]);
    }
    const int end = std::min((top + 1) >> raster.chroma_shift_y, raster.cb.height - 1);
    for (int y = top >> raster.chroma_shift_y; y <= end; ++y) {
      for (int row = first; row <= last; ++row) {
        const bool overlaps = raster.chroma_shift_y != 0 || layout_shift != 0 || row == y;
        if (overlaps) TakeChangedChroma(stored[row - first], shape, frame, row, y, raster);
      }
    }
  }
}

}  // namespace vantro::app
