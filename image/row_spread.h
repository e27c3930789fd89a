// Rows of a source channel as the columns of a destination strip see them: the left and the right
// sample of every column, side by side, so that a weighted sum can stream through them. A spread
// row serves all destination rows that sample it.
#ifndef VANTRO_IMAGE_ROW_SPREAD_H_
#define VANTRO_IMAGE_ROW_SPREAD_H_

#include <cstdint>
#include <utility>

namespace vantro {

// Columns of a strip; its rows stay in the first-level cache.
inline constexpr int kStripColumns = 512;

// One channel of a source image; distances in bytes.
struct ChannelSource {
  const uint8_t* data;
  int64_t step;       // from one element to the next
  int64_t pitch;      // from one row to the next
  int64_t row_bytes;  // from the first element of a row to the end of the last
};

inline ChannelSource MakeChannelSource(const uint8_t* data, int step, int64_t pitch, int width) {
  return {data, step, pitch, int64_t{step} * (width - 1) + 1};
}

// The source columns of a strip.
struct StripColumns {
  const int32_t* left;
  const int32_t* right;
  int count;  // 1..kStripColumns
  // Weights of both samples, for rows of weighted samples.
  const float* left_weight = nullptr;
  const float* right_weight = nullptr;
};

// How shuffles collect the samples of eight columns at a time from a few windows of 16 bytes.
struct SpreadPlan {
  static constexpr int kGroup = 8;
  static constexpr int kWindow = 16;
  static constexpr int kMaxWindows = 4;  // beyond, samples lie too far apart for shuffles to pay
  static constexpr int kWord = 4;

  int windows;  // 0: no shuffles
  int words;    // without shuffles: so many columns find both samples in one word
  int64_t base[kStripColumns / kGroup];
  // For each group and window the bytes to take for the left samples, then the right ones.
  alignas(16) uint8_t choice[kStripColumns / kGroup][kMaxWindows][kWindow];
};

struct SpreadRow {
  int32_t source_row = -1;
  alignas(64) float left[kStripColumns];  // weighted, if the columns have weights
  alignas(64) float right[kStripColumns];
  alignas(64) float weighted_right[kStripColumns];  // only if they have
};

// Spreads rows for one strip and keeps the last two.
class RowSpreader {
 public:
  RowSpreader(const ChannelSource& source, const StripColumns& columns);
  // Both rows, valid until the next call.
  std::pair<const SpreadRow*, const SpreadRow*> Rows(int32_t upper, int32_t lower);
  // The left samples of a row as they are.
  void CopyLeft(int32_t row, uint8_t* out) const;

 private:
  ChannelSource source_;
  StripColumns columns_;
  SpreadPlan plan_;
  SpreadRow slots_[2];
  int upper_slot_ = 0;
};

}  // namespace vantro

#endif  // VANTRO_IMAGE_ROW_SPREAD_H_
