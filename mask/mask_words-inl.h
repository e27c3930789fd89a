// Rows of a mask as bits, 64 columns at a time: which pixels are set, which begin a run (some
// neighbouring pixels of one value in a row), which equal the pixel above. Where runs begin, end
// and meet is then a matter of bit operations, which costs no mispredicted branch a pixel however
// wild the mask is. Included once a target, after hwy/highway.h, mask/mask_pixels.h, <algorithm>,
// <bit> and <cstring>.

#if defined(VANTRO_MASK_MASK_WORDS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTRO_MASK_MASK_WORDS_INL_H_
#undef VANTRO_MASK_MASK_WORDS_INL_H_
#else
#define VANTRO_MASK_MASK_WORDS_INL_H_
#endif

HWY_BEFORE_NAMESPACE();
namespace vantro {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int32_t kWord = 64;

// Bit i is set where a[i] != b[i].
HWY_INLINE uint64_t Differences(const uint8_t* a, const uint8_t* b) {
#if HWY_TARGET != HWY_SCALAR
  const hn::CappedTag<uint8_t, 64> d;
  uint8_t bits[8];
  for (size_t i = 0; i < 64; i += hn::Lanes(d)) {
    hn::StoreMaskBits(d, hn::LoadU(d, a + i) != hn::LoadU(d, b + i), bits + i / 8);
  }
  uint64_t word = 0;
  std::memcpy(&word, bits, sizeof(word));
  return word;
#else
  uint64_t word = 0;
  for (size_t i = 0; i < 64; ++i) word |= uint64_t{a[i] != b[i]} << i;
  return word;
#endif
}

// 64 columns of a row.
struct Columns {
  uint64_t set;     // pixels other than 0
  uint64_t starts;  // pixels that begin a run
};

constexpr uint8_t kZeros[kWord] = {};

// `pixels` has a readable byte before it.
HWY_INLINE Columns ReadWhole(const uint8_t* pixels) {
  return {Differences(pixels, kZeros), Differences(pixels, pixels - 1)};
}

HWY_INLINE int32_t ColumnsLeft(const MaskPixels& mask, int32_t x) {
  return std::min(kWord, mask.width - x);
}

// Bits 0 to count - 1, count from 1 to 64.
HWY_INLINE uint64_t LowBits(int32_t count) { return ~uint64_t{0} >> (kWord - count); }

// The columns of a row from x on; those behind the row's end are 0.
HWY_INLINE Columns ReadColumns(const MaskPixels& mask, const uint8_t* row, int32_t x) {
  const int32_t count = ColumnsLeft(mask, x);
  Columns columns;
  if (mask.width < kWord || (x == 0 && row == mask.pixels)) {
    uint8_t padded[1 + kWord] = {};
    if (x > 0) padded[0] = row[x - 1];
    std::memcpy(padded + 1, row + x, static_cast<size_t>(count));
    columns = ReadWhole(padded + 1);
    columns.starts &= LowBits(count);
  } else {
    // The last columns of a row are the end of a word that overlaps the one before it.
    columns = ReadWhole(row + x + count - kWord);
    columns.set >>= kWord - count;
    columns.starts >>= kWord - count;
  }
  if (x == 0) columns.starts |= 1;
  return columns;
}

// Bit i is set where the pixels of column x + i are equal; any bits behind the row's end.
HWY_INLINE uint64_t ReadEqual(const MaskPixels& mask, const uint8_t* row, const uint8_t* above,
                              int32_t x) {
  const int32_t count = ColumnsLeft(mask, x);
  if (mask.width >= kWord) {
    const int32_t begin = x + count - kWord;
    return ~Differences(row + begin, above + begin) >> (kWord - count);
  }
  uint8_t padded[2][kWord] = {};
  std::memcpy(padded[0], row, static_cast<size_t>(count));
  std::memcpy(padded[1], above, static_cast<size_t>(count));
  return ~Differences(padded[0], padded[1]);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace vantro
HWY_AFTER_NAMESPACE();

#endif  // per target
