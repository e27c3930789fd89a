#include "mask/label_runs.h"

#include <algorithm>
#include <bit>

#include "mask/mask_kernels.h"
#include "mask/union_find.h"

namespace vantro {
namespace {

// Columns whose changes are found at a time.
constexpr int32_t kChunk = 2048;

// The run of the row above that holds the columns from begin to end - 1. Starts before the first
// run.
struct RunCursor {
  const int32_t* next;
  int32_t label = 0;
  int32_t begin = 0;
  int32_t end = 0;

  void Advance() {
    const LabelRun run = NextRun(&next);
    label = run.label;
    begin = end;
    end += run.length;
  }
};

// Joins two labels for each of `times` pixels where they meet. The first time joins the sets, the
// others only shorten the paths of both labels, until there is nothing left to shorten.
void JoinForPixels(LabelEntry* table, int32_t label, int32_t above, int32_t times) {
  for (int32_t i = 0; i < times; ++i) {
    JoinSets(table, label, above);
    if (table[label].parent == table[above].parent && IsFlat(table, label)) return;
  }
}

class RowLabeller {
 public:
  RowLabeller(ConnectedComponentsLabeling& labeller, const RunRow* above, RunRow* row)
      : labeller_(labeller),
        pixels_above_(above == nullptr ? nullptr : above->pixels),
        cursor_{above == nullptr ? nullptr : above->runs},
        row_(*row) {
    row_.end = row_.runs;
    row_.columns = 0;
  }

  // Adds the run from the columns covered so far to `end` - 1.
  bool AddRun(int32_t end) {
    const int32_t begin = row_.columns;
    const int32_t label = LabelOfRun(begin, end);
    if (label < 0) return false;
    if (end - begin == 1) {
      *row_.end++ = ~label;
    } else {
      *row_.end++ = label;
      *row_.end++ = end - begin;
    }
    row_.columns = end;
    return true;
  }

 private:
  int32_t LabelOfRun(int32_t begin, int32_t end) {
    if (pixels_above_ == nullptr) return labeller_.newLabel();
    const uint8_t value = row_.pixels[begin];
    while (cursor_.end <= begin) cursor_.Advance();
    const bool continues_above = pixels_above_[begin] == value;
    const int32_t label = continues_above ? cursor_.label : labeller_.newLabel();
    if (label < 0) return label;

    // The first pixel took its label from above, or found another value there; every later one
    // joins the run's label with the label above.
    for (int32_t column = begin + 1; column < end;) {
      if (cursor_.end <= column) cursor_.Advance();
      const int32_t meet_end = std::min(end, cursor_.end);
      if (pixels_above_[column] == value) {
        JoinForPixels(labeller_.table, label, cursor_.label, meet_end - column);
      }
      column = meet_end;
    }
    return label;
  }

  ConnectedComponentsLabeling& labeller_;
  const uint8_t* pixels_above_;
  RunCursor cursor_;
  RunRow& row_;
};

}  // namespace

bool LabelRow(ConnectedComponentsLabeling& labeller, const RunRow* above, int32_t width,
              RunRow* row) {
  RowLabeller out(labeller, above, row);
  uint64_t changes[kChunk / 64];
  for (int32_t chunk = 1; chunk < width; chunk += std::min(kChunk, width - chunk)) {
    const int32_t columns = std::min(kChunk, width - chunk);
    FindChanges(row->pixels + chunk, static_cast<size_t>(columns), changes);
    for (int32_t i = 0; i < columns; i += 64) {
      for (uint64_t word = changes[i / 64]; word != 0; word &= word - 1) {
        if (!out.AddRun(chunk + i + std::countr_zero(word))) return false;
      }
    }
  }
  return out.AddRun(width);
}

bool LabelRows(ConnectedComponentsLabeling& labeller, const uint8_t* mask, int32_t* labels,
               int32_t width, int32_t height) {
  RunRow above{};
  for (int32_t y = 0; y < height; ++y) {
    const ptrdiff_t offset = ptrdiff_t{y} * width;
    RunRow row{mask + offset, labels + offset, nullptr, 0};
    if (!LabelRow(labeller, y == 0 ? nullptr : &above, width, &row)) return false;
    above = row;
  }
  return true;
}

void ExpandRow(const RunRow& row) {
  // From the right: the runs before a run take up no more room than their pixels.
  const int32_t* at = row.end;
  int32_t column = row.columns;
  while (column > 0) {
    const int32_t last = *--at;
    const bool single = last < 0;
    const int32_t length = single ? 1 : last;
    const int32_t label = single ? ~last : *--at;
    column -= length;
    std::fill_n(row.runs + column, length, label);
  }
}

int32_t NumberRegions(ConnectedComponentsLabeling& labeller) {
  int32_t regions = 0;
  for (int32_t i = 0; i < labeller.count; ++i) {
    LabelEntry& entry = labeller.table[i];
    if (entry.parent == i) entry.region = regions++;
  }
  return regions;
}

void ResolveRow(ConnectedComponentsLabeling& labeller, int32_t width, RunRow* row) {
  LabelEntry* table = labeller.table;
  const int32_t* at = row->runs;
  int32_t* out = row->runs;
  for (row->columns = 0; row->columns < width;) {
    const LabelRun run = NextRun(&at);
    // One search a pixel, as long as it still shortens the path.
    int32_t root = FindRoot(table, run.label);
    for (int32_t i = 1; i < run.length && !IsFlat(table, run.label); ++i) {
      root = FindRoot(table, run.label);
    }
    RelabelRun(&out, table[root].region);
    row->columns += run.length;
  }
  row->end = out;
}

}  // namespace vantro
