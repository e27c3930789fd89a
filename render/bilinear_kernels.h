// Kernels of the floating-point bilinear resize. It goes strip by strip, a strip being some columns
// of the destination.
#ifndef VANTRO_RENDER_BILINEAR_KERNELS_H_
#define VANTRO_RENDER_BILINEAR_KERNELS_H_

#include <cstddef>
#include <cstdint>

namespace vantro {

// Columns that are treated together.
inline constexpr size_t kStripColumns = 256;
// Columns whose samples are taken at once where all of them lie within as many source columns.
inline constexpr size_t kBlockColumns = 16;
// Strips are filled up to whole groups of columns, so that vectors need not stop before their end.
inline constexpr size_t kGroupColumns = 64;

// Which sample of a source row each of a strip's columns takes.
struct SampleColumns {
  // Completes the record from the first `columns` entries of `column`, which rise and stay below
  // `src_width`.
  void Prepare(size_t columns, int32_t src_width);

  int32_t column[kStripColumns];
  size_t count;  // whole groups
  // With `blocked`, column[c] is block_begin[c / 16] + block_offset[c], an offset below 16, and 16
  // bytes from a block's begin on lie in the row.
  bool blocked;
  int32_t block_begin[kStripColumns / kBlockColumns];
  uint8_t block_offset[kStripColumns];
};

// A value for each column. Column 4i + j is at [j][i], so that the bytes of four vectors of results
// join to one vector of neighbouring bytes by shifts alone.
struct alignas(64) ColumnValues {
  float& at(size_t column) { return part[column % 4][column / 4]; }
  float at(size_t column) const { return part[column % 4][column / 4]; }

  float part[4][kStripColumns / 4];
};

// The samples of a source row to the left and to the right of each column.
struct SampledRow {
  ColumnValues left;
  ColumnValues right;
  // True for a group of columns whose samples are all 0. Most of a mask is.
  bool is_zero[kStripColumns / kGroupColumns];
};

// Takes the samples of whole groups of columns.
void SampleRow(const uint8_t* row, const SampleColumns& left, const SampleColumns& right,
               SampledRow* out);

// A row of the destination and the source rows that it lies between.
struct BlendedRow {
  uint8_t* dst;
  const SampledRow* upper;
  const SampledRow* lower;
};

// dst[c] = (1-wy)(1-wx)*UL + (1-wy)*wx*UR + wy*(1-wx)*LL + wy*wx*LR, each weight product formed
// first, summed from left to right and truncated; wx is right_weight(c), wy the lower_weight of all
// these rows. Reads whole groups of columns.
void BlendRows(const BlendedRow* rows, size_t count, float lower_weight,
               const ColumnValues& right_weight, size_t columns);

}  // namespace vantro

#endif  // VANTRO_RENDER_BILINEAR_KERNELS_H_
