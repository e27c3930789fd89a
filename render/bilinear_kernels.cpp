#include "render/bilinear_kernels.h"

#include <algorithm>
#include <cstring>

#include "support/simd_targets.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/bilinear_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

// Four samples in an integer: every machine that this is built for is little-endian.
using Quads = int32_t[kStripColumns / 4];

void TakeSamples(const uint8_t* row, const SampleColumns& columns, Quads& quads) {
  auto* const samples = reinterpret_cast<uint8_t*>(quads);
  size_t c = 0;
#if HWY_TARGET != HWY_SCALAR
  if (columns.blocked) {
    const hn::FixedTag<uint8_t, kBlockColumns> d;
    for (; c < columns.count; c += kBlockColumns) {
      const auto bytes = hn::LoadU(d, row + columns.block_begin[c / kBlockColumns]);
      hn::StoreU(hn::TableLookupBytes(bytes, hn::LoadU(d, columns.block_offset + c)), d,
                 samples + c);
    }
  }
#endif
  for (; c < columns.count; ++c) samples[c] = row[columns.column[c]];
}

void Spread(const Quads& quads, size_t count, ColumnValues* out) {
  for (int j = 0; j < 4; ++j) {
    float* part = out->part[j];
    for (size_t i = 0; i < count; ++i) part[i] = static_cast<float>(quads[i] >> (8 * j) & 0xFF);
  }
}

void SampleRow(const uint8_t* row, const SampleColumns& left_columns,
               const SampleColumns& right_columns, SampledRow* out) {
  constexpr size_t kGroupQuads = kGroupColumns / 4;
  Quads left;
  Quads right;
  TakeSamples(row, left_columns, left);
  TakeSamples(row, right_columns, right);
  const size_t quads = left_columns.count / 4;
  Spread(left, quads, &out->left);
  Spread(right, quads, &out->right);
  for (size_t begin = 0; begin < quads; begin += kGroupQuads) {
    int32_t any = 0;
    for (size_t i = begin; i < begin + kGroupQuads; ++i) any |= left[i] | right[i];
    out->is_zero[begin / kGroupQuads] = any == 0;
  }
}

#if HWY_TARGET == HWY_SCALAR
void BlendRows(const BlendedRow* rows, size_t count, float lower_weight,
               const ColumnValues& right_weight, size_t columns) {
  const float wl = lower_weight;
  const float wu = 1.0f - wl;
  for (size_t r = 0; r < count; ++r) {
    const SampledRow& upper = *rows[r].upper;
    const SampledRow& lower = *rows[r].lower;
    for (size_t c = 0; c < columns; ++c) {
      const float wx = right_weight.at(c);
      const float vx = 1.0f - wx;
      const float value = wu * vx * upper.left.at(c) + wu * wx * upper.right.at(c) +
                          wl * vx * lower.left.at(c) + wl * wx * lower.right.at(c);
      rows[r].dst[c] = static_cast<uint8_t>(static_cast<int32_t>(value));
    }
  }
}
#else
constexpr hn::ScalableTag<float> kFloats;
using Floats = hn::VFromD<decltype(kFloats)>;
constexpr size_t kColumns = 4 * hn::MaxLanes(kFloats);
static_assert(kGroupColumns % kColumns == 0);

// The weight products of kColumns columns, for all rows of one weight.
struct Products {
  Products(float lower_weight, const ColumnValues& right_weight, size_t at) {
    const Floats one = hn::Set(kFloats, 1.0f);
    const Floats wl = hn::Set(kFloats, lower_weight);
    const Floats wu = one - wl;
    for (size_t j = 0; j < 4; ++j) {
      const Floats wx = hn::Load(kFloats, right_weight.part[j] + at);
      const Floats vx = one - wx;
      upper_left[j] = wu * vx;
      upper_right[j] = wu * wx;
      lower_left[j] = wl * vx;
      lower_right[j] = wl * wx;
    }
  }

  Floats upper_left[4], upper_right[4], lower_left[4], lower_right[4];
};

// The blended values' whole parts, in the low bits of the floats that they become on top of 2^23:
// cheaper than a conversion, which Highway guards against overflow.
HWY_INLINE hn::VFromD<hn::RebindToUnsigned<decltype(kFloats)>> BlendPart(const Products& products,
                                                                         const BlendedRow& row,
                                                                         size_t j, size_t at) {
  const Floats sum = products.upper_left[j] * hn::Load(kFloats, row.upper->left.part[j] + at) +
                     products.upper_right[j] * hn::Load(kFloats, row.upper->right.part[j] + at) +
                     products.lower_left[j] * hn::Load(kFloats, row.lower->left.part[j] + at) +
                     products.lower_right[j] * hn::Load(kFloats, row.lower->right.part[j] + at);
  return hn::BitCast(hn::RebindToUnsigned<decltype(kFloats)>(),
                     hn::Floor(sum) + hn::Set(kFloats, 8388608.0f));
}

using Bytes = hn::VFromD<hn::Repartition<uint8_t, decltype(kFloats)>>;

HWY_INLINE Bytes Blend(const Products& products, const BlendedRow& row, size_t at) {
  // Above the lowest byte stands the top byte of 2^23, which the shifts drop.
  const auto low_byte = hn::Set(hn::RebindToUnsigned<decltype(kFloats)>(), 0xFFu);
  const auto part0 = BlendPart(products, row, 0, at) & low_byte;
  const auto part1 = hn::ShiftLeft<8>(BlendPart(products, row, 1, at));
  const auto part2 = hn::ShiftLeft<16>(BlendPart(products, row, 2, at));
  const auto part3 = hn::ShiftLeft<24>(BlendPart(products, row, 3, at));
  return hn::BitCast(hn::Repartition<uint8_t, decltype(kFloats)>(), part0 | part1 | part2 | part3);
}

// `columns` may be fewer than the vector has.
HWY_INLINE void StoreColumns(Bytes values, uint8_t* dst, size_t columns) {
  const hn::Repartition<uint8_t, decltype(kFloats)> bytes;
  if (columns >= kColumns) {
    hn::StoreU(values, bytes, dst);
  } else {
    HWY_ALIGN uint8_t last[kColumns];
    hn::Store(values, bytes, last);
    std::memcpy(dst, last, columns);
  }
}

bool IsZero(const BlendedRow& row, size_t column) {
  const size_t group = column / kGroupColumns;
  return row.upper->is_zero[group] && row.lower->is_zero[group];
}

void BlendRows(const BlendedRow* rows, size_t count, float lower_weight,
               const ColumnValues& right_weight, size_t columns) {
  const Bytes zero = hn::Zero(hn::Repartition<uint8_t, decltype(kFloats)>());
  for (size_t c = 0; c < columns; c += kColumns) {
    size_t r = 0;
    for (; r < count && IsZero(rows[r], c); ++r) StoreColumns(zero, rows[r].dst + c, columns - c);
    if (r == count) continue;
    const Products products(lower_weight, right_weight, c / 4);
    for (; r < count; ++r) {
      const Bytes blended = IsZero(rows[r], c) ? zero : Blend(products, rows[r], c / 4);
      StoreColumns(blended, rows[r].dst + c, columns - c);
    }
  }
}
#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"

namespace vantro {

VANTRO_KERNEL_TABLE(SampleRow);
VANTRO_KERNEL_TABLE(BlendRows);

void SampleColumns::Prepare(size_t columns, int32_t src_width) {
  count = (columns + kGroupColumns - 1) / kGroupColumns * kGroupColumns;
  std::fill(column + columns, column + count, column[columns - 1]);
  constexpr int32_t kReach = kBlockColumns;
  blocked = src_width >= kReach;
  for (size_t c = 0; c < count && blocked; c += kBlockColumns) {
    const int32_t begin = std::min(column[c], src_width - kReach);
    blocked = column[c + kBlockColumns - 1] - begin < kReach;
    block_begin[c / kBlockColumns] = begin;
    for (size_t i = c; i < c + kBlockColumns; ++i) {
      block_offset[i] = static_cast<uint8_t>(column[i] - begin);
    }
  }
}

void SampleRow(const uint8_t* row, const SampleColumns& left, const SampleColumns& right,
               SampledRow* out) {
  VANTRO_KERNEL(SampleRow)(row, left, right, out);
}

void BlendRows(const BlendedRow* rows, size_t count, float lower_weight,
               const ColumnValues& right_weight, size_t columns) {
  VANTRO_KERNEL(BlendRows)(rows, count, lower_weight, right_weight, columns);
}

}  // namespace vantro
#endif  // HWY_ONCE
