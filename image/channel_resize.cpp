// Bilinear resizers of one byte channel in single precision: one core, with the summing rule, the
// rounding and the log lines of each entry point.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image/bilinear_sum_kernels.h"
#include "image/bilinear_tables.h"
#include "image/row_spread.h"
#include "image/strided_copy.h"
#include "image/try_resize.h"
#include "support/log.h"
#include "vantro/image.h"

namespace vantro {
namespace {

// Where the failures of one entry point are logged.
struct LogSite {
  const char* tag;
  const char* label;
  int input_line;
  int malloc_line;
};

struct ChannelSizes {
  int src_width;
  int src_stride;  // elements
  int src_height;
  int dst_width;
  int dst_height;
};

// False for sizes that leave nothing to read or to write.
bool Drawable(const ChannelSizes& sizes, int step) {
  return sizes.src_width >= 1 && sizes.src_height >= 1 && sizes.src_stride >= sizes.src_width &&
         sizes.dst_width >= 1 && sizes.dst_height >= 1 && step >= 1;
}

// With equal sizes every position is a sample and has all the weight, for as long as single
// precision counts the positions.
bool KeepsSamples(const ChannelSizes& sizes) {
  constexpr int kExact = 1 << 24;
  return sizes.src_width == sizes.dst_width && sizes.src_height == sizes.dst_height &&
         sizes.dst_width <= kExact && sizes.dst_height <= kExact;
}

struct SumRule {
  decltype(&SumGrouped) sum;
  float bias;
};

// Where the elements of a destination go, in bytes.
struct ChannelTarget {
  uint8_t* data;
  int64_t step;
  int64_t pitch;
};

// Column weights of a strip in aligned memory; every destination row streams through them.
struct StripWeights {
  alignas(64) float left[kStripColumns];
  alignas(64) float right[kStripColumns];
};

void ResizeStrip(const ChannelSource& source, const BilinearTables& tables, const SumRule& rule,
                 const ChannelSizes& sizes, int first, int count, const ChannelTarget& target) {
  const BilinearAxis& columns = tables.columns();
  const BilinearAxis& rows = tables.rows();
  StripWeights aligned;
  std::copy_n(columns.first_weight + first, count, aligned.left);
  std::copy_n(columns.second_weight + first, count, aligned.right);
  const AxisWeights<float> weights = {aligned.left, aligned.right, count};
  StripColumns samples = {columns.first + first, columns.second + first, count};
  // Weighting pays where a source row serves several destination rows.
  const bool weighted = rule.sum == &SumInOrder && sizes.dst_height > sizes.src_height;
  if (weighted) {
    samples.left_weight = aligned.left;
    samples.right_weight = aligned.right;
  }
  const bool left_only = weights.left_only();
  RowSpreader spreader(source, samples);
  uint8_t packed[kStripColumns];
  uint8_t* dst = target.data + first * target.step;
  for (int y = 0; y < sizes.dst_height; ++y, dst += target.pitch) {
    const RowWeights<float> row = {rows.first_weight[y], rows.second_weight[y]};
    uint8_t* const out = target.step == 1 ? dst : packed;
    const bool upper_only = row.upper == 1.0f && row.lower == 0.0f;
    if (upper_only && left_only) {
      spreader.CopyLeft(rows.first[y], out);
    } else {
      const auto [upper, lower] =
          spreader.Rows(rows.first[y], upper_only ? rows.first[y] : rows.second[y]);
      if (weighted) {
        SumWeighted(*upper, *lower, weights, row, rule.bias, out);
      } else if (upper_only) {
        SumUpperOnly(*upper, weights, rule.bias, out);
      } else {
        rule.sum(*upper, *lower, weights, row, rule.bias, out);
      }
    }
    if (target.step != 1) ScatterStrided(packed, count, target.step, dst);
  }
}

void CopySamples(const ChannelSource& source, const ChannelTarget& target, int width, int height) {
  uint8_t packed[kStripColumns];
  for (int y = 0; y < height; ++y) {
    const uint8_t* const src = source.data + y * source.pitch;
    uint8_t* const dst = target.data + y * target.pitch;
    if (source.step == 1) {
      std::memmove(dst, src, static_cast<size_t>(width));
      continue;
    }
    for (int first = 0; first < width;) {
      const int count = std::min(kStripColumns, width - first);
      CopyStrided(src + first * source.step, source.step, count, packed);
      ScatterStrided(packed, count, target.step, dst + first * target.step);
      first += count;
    }
  }
}

bool Resize(const LogSite& site, const unsigned char* src, unsigned char* dst,
            const ChannelSizes& sizes, int src_step, int dst_step, const SumRule& rule) {
  if (src == nullptr || dst == nullptr) {
    VANTRO_LOGE(site.tag, "%s %d input error!", site.label, site.input_line);
    return false;
  }
  if (!Drawable(sizes, src_step)) return false;
  BilinearTables tables;
  if (!tables.Allocate(sizes.dst_width, sizes.dst_height)) {
    VANTRO_LOGE(site.tag, "%s %d malloc error!", site.label, site.malloc_line);
    return false;
  }
  const ChannelSource source =
      MakeChannelSource(src, src_step, int64_t{src_step} * sizes.src_stride, sizes.src_width);
  const ChannelTarget target = {dst, dst_step, int64_t{dst_step} * sizes.dst_width};
  if (KeepsSamples(sizes)) {
    CopySamples(source, target, sizes.dst_width, sizes.dst_height);
    return true;
  }
  tables.Fill(sizes.src_width, sizes.src_height);
  for (int first = 0; first < sizes.dst_width;) {
    const int count = std::min(kStripColumns, sizes.dst_width - first);
    ResizeStrip(source, tables, rule, sizes, first, count, target);
    first += count;
  }
  return true;
}

}  // namespace

bool TryResizeUchar(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                    int dstH) {
  return Resize({kTagVideo, "Resize", 581, 595}, src, dst, {srcW, srcW, srcH, dstW, dstH}, 1, 1,
                {&SumGrouped, 0.5f});
}

bool TryResizeUcharC(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                     int dstH) {
  return Resize({kTagPlain, "ResizeUchar", 239, 253}, src, dst, {srcW, srcW, srcH, dstW, dstH}, 1,
                1, {&SumInOrder, 0.5f});
}

bool TryResizeUcharChl(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                       int srcH, int dstW, int dstH, int step) {
  VANTRO_LOGI(kTagVideo, "%s Plimra_Process_ResizeUcharChlY_begin ", "ResizeUcharChl");
  return Resize({kTagVideo, "ResizeUcharChl", 781, 795}, src, dst,
                {srcW, srcStride, srcH, dstW, dstH}, step, step, {&SumInOrder, 0.0f});
}

bool TryResizeUYVYtoYChl(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                         int srcH, int dstW, int dstH, int step) {
  return Resize({kTagVideo, "ResizeUYVYtoYChl", 402, 416}, src, dst,
                {srcW, srcStride, srcH, dstW, dstH}, step, 1, {&SumInOrder, 0.5f});
}

}  // namespace vantro

void ResizeUchar(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                 int dstH) {
  vantro::TryResizeUchar(src, dst, srcW, srcH, dstW, dstH);
}

extern "C" void vantro_c::ResizeUchar(const unsigned char* src, unsigned char* dst, int srcW,
                                      int srcH, int dstW, int dstH) {
  vantro::TryResizeUcharC(src, dst, srcW, srcH, dstW, dstH);
}

void ResizeUcharChl(const unsigned char* src, unsigned char* dst, int srcW, int srcStride, int srcH,
                    int dstW, int dstH, int step) {
  vantro::TryResizeUcharChl(src, dst, srcW, srcStride, srcH, dstW, dstH, step);
}

void ResizeUYVYtoYChl(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                      int srcH, int dstW, int dstH, int step) {
  vantro::TryResizeUYVYtoYChl(src, dst, srcW, srcStride, srcH, dstW, dstH, step);
}

void ResizeUYVYtoY(const unsigned char* src, unsigned char* dst, int srcW, int srcStride, int srcH,
                   int dstW, int dstH) {
  // A null frame stays null, so that it is refused below.
  ResizeUYVYtoYChl(src == nullptr ? nullptr : src + 1, dst, srcW, srcStride, srcH, dstW, dstH, 2);
}

void ResizeNV12toY(const unsigned char* src, unsigned char* dst, int srcW, int srcStride, int srcH,
                   int dstW, int dstH) {
  ResizeUYVYtoYChl(src, dst, srcW, srcStride, srcH, dstW, dstH, 1);
}
