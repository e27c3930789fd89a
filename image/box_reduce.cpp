// Truncated means of 4x4 blocks.

#include <cstddef>
#include <cstdint>

#include "image/plane_geometry.h"
#include "support/simd_targets.h"
#include "vantro/image.h"
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/box_reduce.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"
#include "image/pixel_pairs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR
using D32 = hn::RepartitionToWide<D16>;
using D64 = hn::RepartitionToWide<D32>;

// Four rows of bytes added up, even and odd bytes apart.
struct ColumnSums {
  V16 even;
  V16 odd;

  HWY_INLINE ColumnSums(const uint8_t* src, ptrdiff_t pitch)
      : even(hn::Zero(D16())), odd(hn::Zero(D16())) {
    for (int row = 0; row < 4; ++row) {
      const auto bytes = hn::BitCast(D16(), hn::LoadU(D8(), src + row * pitch));
      even = hn::Add(even, LowBytes(bytes));
      odd = hn::Add(odd, HighBytes(bytes));
    }
  }
};

// The two 16-bit lanes of every 32 bits added up.
HWY_INLINE hn::Vec<D32> AddPairs(V16 sums) {
  const auto pairs = hn::BitCast(D32(), sums);
  return hn::Add(hn::And(pairs, hn::Set(D32(), 0xFFFF)), hn::ShiftRight<16>(pairs));
}

HWY_INLINE void ReduceVector(const uint8_t* src, ptrdiff_t pitch, uint8_t* dst) {
  const ColumnSums sums(src, pitch);
  const auto means = hn::ShiftRight<4>(AddPairs(hn::Add(sums.even, sums.odd)));
  const hn::Rebind<uint8_t, D32> d;
  hn::StoreU(hn::TruncateTo(d, means), d, dst);
}

HWY_INLINE void ReducePairVector(const uint8_t* src, ptrdiff_t pitch, uint8_t* dst) {
  const ColumnSums sums(src, pitch);
  // First bytes in the lower, second bytes in the upper half of 32 bits; 4080 at most.
  const auto twos = hn::Or(AddPairs(sums.even), hn::ShiftLeft<16>(AddPairs(sums.odd)));
  const auto halves = hn::BitCast(D64(), twos);
  const auto fours = hn::Add(halves, hn::ShiftRight<32>(halves));
  const auto means = hn::Or(hn::And(hn::ShiftRight<4>(fours), hn::Set(D64(), 0xFF)),
                            hn::And(hn::ShiftRight<12>(fours), hn::Set(D64(), 0xFF00)));
  const hn::Rebind<uint16_t, D64> d16;
  const hn::Repartition<uint8_t, decltype(d16)> d8;
  hn::StoreU(hn::BitCast(d8, hn::TruncateTo(d16, means)), d8, dst);
}
#endif  // HWY_TARGET != HWY_SCALAR

// `count` destination elements of one byte, or of a pair of bytes, from four source rows.
template <ptrdiff_t bytes>
void ReduceRow(const uint8_t* src, ptrdiff_t pitch, uint8_t* dst, ptrdiff_t count) {
  ptrdiff_t x = 0;
#if HWY_TARGET != HWY_SCALAR
  const auto vector = [=](ptrdiff_t at) HWY_ATTR {
    if constexpr (bytes == 1) {
      ReduceVector(src + 4 * at, pitch, dst + at);
    } else {
      ReducePairVector(src + 8 * at, pitch, dst + 2 * at);
    }
  };
  const auto lanes = static_cast<ptrdiff_t>(hn::Lanes(D8())) / (4 * bytes);
  if (count >= lanes) {
    // The last vector overlaps the one before.
    for (; x < count - lanes; x += lanes) vector(x);
    vector(count - lanes);
    return;
  }
#endif
  for (; x < count; ++x) {
    for (ptrdiff_t channel = 0; channel < bytes; ++channel) {
      int sum = 0;
      for (ptrdiff_t row = 0; row < 4; ++row) {
        for (ptrdiff_t i = 0; i < 4; ++i) {
          sum += src[row * pitch + (4 * x + i) * bytes + channel];
        }
      }
      dst[x * bytes + channel] = static_cast<uint8_t>(sum >> 4);
    }
  }
}

void ReduceBytes(const uint8_t* src, ptrdiff_t pitch, uint8_t* dst, ptrdiff_t count) {
  ReduceRow<1>(src, pitch, dst, count);
}
void ReducePairs(const uint8_t* src, ptrdiff_t pitch, uint8_t* dst, ptrdiff_t count) {
  ReduceRow<2>(src, pitch, dst, count);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include "support/simd_dispatch.h"
namespace vantro {
namespace {
VANTRO_KERNEL_TABLE(ReduceBytes);
VANTRO_KERNEL_TABLE(ReducePairs);

// Every block lies in the source.
bool Reducible(const PlaneGeometry& r, const uint8_t* dst) {
  return r.Drawable(dst) && int64_t{4} * r.dst_width <= r.src_stride &&
         int64_t{4} * r.dst_height <= r.src_height;
}

void ReduceLuma(const PlaneGeometry& r, uint8_t* dst, int64_t dst_pitch) {
  for (int y = 0; y < r.dst_height; ++y) {
    VANTRO_KERNEL(ReduceBytes)
    (r.src + int64_t{4} * y * r.src_stride, r.src_stride, dst + y * dst_pitch, r.dst_width);
  }
}

}  // namespace
}  // namespace vantro

void resizeY16X(const unsigned char* src, int srcW, int srcH, int srcStride, unsigned char* dst,
                int dstW, int dstH, int dstStride) {
  const vantro::PlaneGeometry reduction = {src, srcW, srcH, srcStride, dstW, dstH, dstStride};
  if (vantro::Reducible(reduction, dst)) vantro::ReduceLuma(reduction, dst, dstStride);
}

void resizeNV1216X(const unsigned char* src, int srcW, int srcH, int srcStride, unsigned char* dst,
                   int dstW, int dstH, int dstStride) {
  using vantro::ReducePairsTable;
  const vantro::PlaneGeometry reduction = {src, srcW, srcH, srcStride, dstW, dstH, dstStride};
  if (!vantro::Reducible(reduction, dst)) return;
  vantro::ReduceLuma(reduction, dst, dstW);
  unsigned char* const dst_chroma = dst + int64_t{dstH} * dstStride;
  for (int y = 0; y < dstH / 2; ++y) {
    VANTRO_KERNEL(ReducePairs)
    (reduction.chroma() + int64_t{4} * y * srcStride, srcStride, dst_chroma + int64_t{y} * dstW,
     dstW / 2);
  }
}
#endif  // HWY_ONCE
