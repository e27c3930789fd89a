// Resizers of masks and grey planes, erosion and dilation.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "tests/kernels/operations.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace vantro::test {
namespace {

// A plane whose edges go on beyond it.
struct Grey {
  uint8_t* data;
  int width, height, pitch;

  int At(int row, int column) const {
    return data[int64_t{std::clamp(row, 0, height - 1)} * pitch + std::clamp(column, 0, width - 1)];
  }
};

Grey DrawGrey(Case& c, int width, int height) {
  const int pitch = c.Pitch(width);
  return {c.Grey(Case::Plane(width, height, pitch)), width, height, pitch};
}

Grey DrawOutput(Case& c, int width, int height) {
  const int pitch = c.Pitch(width);
  return {c.Out(Case::Plane(width, height, pitch)), width, height, pitch};
}

// formula(row, column) for every element of the destination.
template <typename Formula>
void Expect(Case& c, const Grey& dst, Formula formula) {
  c.Expect(dst.data, dst.width, dst.height, dst.pitch, [&](int x, int y) { return formula(y, x); });
}

// A position between samples: the one before it, and how far it lies behind that.
struct Between {
  int at;
  float weight;
  Between(int i, int src, int dst, bool not_negative) {
    const float ratio = static_cast<float>(src) / static_cast<float>(dst);
    const auto position = static_cast<float>((i + 0.5) * static_cast<double>(ratio) - 0.5);
    at = not_negative ? std::max(static_cast<int>(position), 0)
                      : static_cast<int>(std::floor(position));
    weight = position - static_cast<float>(at);
  }
};

int Bilinear(const Grey& src, const Grey& dst, int r, int c) {
  const Between y(r, src.height, dst.height, false), x(c, src.width, dst.width, false);
  const auto sample = [&](int down, int right) {
    return static_cast<float>(src.At(y.at + down, x.at + right));
  };
  float value = ((1.0f - y.weight) * (1.0f - x.weight)) * sample(0, 0);
  value = value + ((1.0f - y.weight) * x.weight) * sample(0, 1);
  value = value + (y.weight * (1.0f - x.weight)) * sample(1, 0);
  value = value + (y.weight * x.weight) * sample(1, 1);
  return static_cast<int>(value);
}

int Nearest(const Grey& src, const Grey& dst, int r, int c) {
  const Between y(r, src.height, dst.height, true), x(c, src.width, dst.width, true);
  if (y.at >= src.height - 1) return src.At(y.at, x.at + (x.weight >= 1.0f - x.weight ? 1 : 0));
  if (x.at >= src.width - 1) return src.At(y.at + (y.weight >= 1.0f - y.weight ? 1 : 0), x.at);
  const auto distance = [&](int corner) {
    const float dy = corner / 2 == 0 ? y.weight : 1.0f - y.weight;
    const float dx = corner % 2 == 0 ? x.weight : 1.0f - x.weight;
    const float dy2 = dy * dy, dx2 = dx * dx;
    return dy2 + dx2;
  };
  int best = 0;
  for (const int corner : {1, 2, 3}) best = distance(corner) < distance(best) ? corner : best;
  return src.At(y.at + best / 2, x.at + best % 2);
}

// Source pair of the 4x filter and the weight of its second, in eighths. An axis of one sample
// counts as one where it stands twice.
struct Phase {
  int pair, second_weight;
  Phase(int i, int size) {
    const int inner = std::clamp(i - 2, 0, 4 * std::max(size - 1, 1) - 1);
    pair = inner / 4;
    second_weight = 1 + 2 * (inner % 4);
  }
};

// Two rows with their weights in eighths, blended at a destination column.
template <typename Row>
int FourfoldColumn(int c, int width, int upper_weight, int lower_weight, Row upper, Row lower) {
  const Phase x(c, width);
  const auto blend = [&](int at) { return upper_weight * upper(at) + lower_weight * lower(at); };
  return ((8 - x.second_weight) * blend(x.pair) + x.second_weight * blend(x.pair + 1) + 32) >> 6;
}

int Quadruple(const Grey& src, int r, int c) {
  const Phase y(r, src.height);
  const auto row = [&src](int at) { return [&src, at](int column) { return src.At(at, column); }; };
  return FourfoldColumn(c, src.width, 8 - y.second_weight, y.second_weight, row(y.pair),
                        row(y.pair + 1));
}

int DoubleRounded(const Grey& src, int r, int c) {
  const int y2 = r / 2 + (r % 2 == 0 ? -1 : 1);
  const int x2 = c / 2 + (c % 2 == 0 ? -1 : 1);
  // At an edge the neighbour is the sample itself: 9 + 3 and 3 + 1 of 16 are 3 and 1 of 4.
  return (9 * src.At(r / 2, c / 2) + 3 * src.At(r / 2, x2) + 3 * src.At(y2, c / 2) +
          src.At(y2, x2) + 8) >>
         4;
}

// Value of a corner-aligned line of samples at destination index i.
template <typename Sample>
int Aligned(int i, int count, Sample sample) {
  const int at = std::min(i / 4, count - 1);
  if (at == count - 1) return sample(at);
  const double weight = 0.25 * (i % 4);
  return static_cast<int>((1.0 - weight) * sample(at) + weight * sample(at + 1));
}

// In the two outermost rows and columns the line that is drawn last counts.
int QuadrupleAligned(const Grey& src, int r, int c) {
  if (src.width < 2 || src.height < 2) return kKept;
  const auto down = [&](int column) {
    return Aligned(r, src.height, [&](int row) { return src.At(row, column); });
  };
  const auto across = [&](int row) {
    return Aligned(c, src.width, [&](int column) { return src.At(row, column); });
  };
  if (c >= 4 * src.width - 2) return down(src.width - 1);
  if (r >= 4 * src.height - 2) return across(src.height - 1);
  if (r < 2) return across(0);
  if (c < 2) return down(0);
  return Quadruple(src, r, c);
}

template <int kFactor, int kRounding>
int BlockMean(const Grey& src, int r, int c) {
  int sum = kRounding;
  for (int k = 0; k < kFactor * kFactor; ++k) {
    sum += src.At(kFactor * r + k / kFactor, kFactor * c + k % kFactor);
  }
  return sum / (kFactor * kFactor);
}

int MeanOfPairs(const Grey& src, int r, int c) {
  const int top = (src.At(2 * r, 2 * c) + src.At(2 * r, 2 * c + 1) + 1) >> 1;
  const int bottom = (src.At(2 * r + 1, 2 * c) + src.At(2 * r + 1, 2 * c + 1) + 1) >> 1;
  return (top + bottom + 1) >> 1;
}

// Some rows are wider than the strips that they are treated in.
Grey DrawSource(Case& c, int highest) {
  const int width = c.OneIn(40) ? c.Int(1, 2100) : c.Size();
  return DrawGrey(c, width, c.Int(1, highest));
}

// Resizers by a fixed factor with the arguments (src, dst, width, height, src stride, dst stride).
// What fills no block is left out.
template <auto kResize, int kUp, int kDown, auto kFormula>
void FixedFactor(Case& c) {
  const int width = c.Size(kDown), height = c.Int(kDown, 12 * kDown);
  const Grey src = DrawGrey(c, width, height);
  const Grey dst = DrawOutput(c, width / kDown * kUp, height / kDown * kUp);
  Expect(c, dst, [&](int row, int column) { return kFormula(src, row, column); });
  c.ExpectTrue(kResize(src.data, dst.data, width, height, src.pitch, dst.pitch) == dst.data);
}

// Block means with the arguments (dst, src, dst width, dst height, dst stride, -, -, src stride).
template <auto kReduce, int kFactor, auto kFormula>
void BlockMeans(Case& c) {
  const int width = c.Size(), height = c.Int(1, 12);
  const Grey src = DrawGrey(c, kFactor * width, kFactor * height);
  const Grey dst = DrawOutput(c, width, height);
  Expect(c, dst, [&](int row, int column) { return kFormula(src, row, column); });
  c.ExpectTrue(kReduce(dst.data, src.data, width, height, dst.pitch, -1, -1, src.pitch) ==
               dst.data);
}

// Resizers between any sizes that write a range of rows. The exact factors 2 and 4 have filters of
// their own; other sizes are whole multiples, or higher than the rows that are planned at a time.
template <auto kResize>
void RowRange(Case& c) {
  const Grey src = DrawSource(c, 30);
  const int factor = c.Int(0, 5), highest = c.OneIn(40) ? 1400 : 60;
  const int width = factor > 1 ? factor * src.width : c.Int(1, 600);
  const int height = factor > 1 ? factor * src.height : c.Int(1, highest);
  const Grey dst = DrawOutput(c, width, height);
  const int begin = c.Int(-1, height), end = c.Int(0, height + 1);
  Expect(c, dst, [&](int row, int column) {
    return row < begin || row >= end ? kKept : Bilinear(src, dst, row, column);
  });
  kResize(dst.data, src.data, width, height, dst.pitch, src.width, src.height, src.pitch, begin,
          end);
}

template <auto kMorph, bool kErodes>
void Morphology(Case& c) {
  fmalloc = [](uint32_t size, const char*, int32_t) { return std::malloc(size); };
  ffree = [](void* block, const char*, int32_t) { std::free(block); };
  const Image image = c.DrawImage();
  const int radius = c.OneIn(2) ? c.Int(0, 3) : c.Int(0, 25), side = 2 * radius + 1;
  uint8_t* const data = c.Out(image.size());
  const bool mostly_set = c.OneIn(2);
  const int odd_per_mille = c.Int(0, 60);
  for (int64_t i = 0; i < image.size(); ++i) {
    const bool odd = c.Float(0.0f, 1000.0f) < static_cast<float>(odd_per_mille);
    data[i] = odd == mostly_set ? 0 : static_cast<uint8_t>(data[i] | 1);
  }
  c.Expect(data, image.width, image.height, image.width, [&](int x, int y) {
    if (x < radius || x >= image.width - radius || y < radius || y >= image.height - radius) {
      return kKept;
    }
    int set = 0;
    for (int k = 0; k < side * side; ++k) {
      set += data[int64_t{y - radius + k / side} * image.width + x - radius + k % side] != 0;
    }
    return kErodes ? set == side * side ? 1 : 0 : set > 0 ? 1 : 0;
  });
  kMorph(data, image.width, image.height, radius);
}

}  // namespace

const std::vector<Operation> kRescaleOperations = {
    {"bilinearGrayU8BorderLines", RowRange<&bilinearGrayU8BorderLines>},
    {"upScale2x2", RowRange<&upScale2x2>},
    {"upScale4x4",
     [](Case& c) {
       const Grey src = DrawSource(c, 12);
       const Grey dst = DrawOutput(c, 4 * src.width, 4 * src.height);
       Expect(c, dst, [&](int row, int column) { return Quadruple(src, row, column); });
       upScale4x4(dst.data, src.data, src.width, src.height, dst.pitch, src.pitch);
     }},
    {"upScale4x4BorderRows",
     [](Case& c) {
       const int width = c.Size(2);
       uint8_t* rows[] = {c.Grey(width), c.Grey(width)};
       uint8_t* out[] = {c.Out(4 * width), c.Out(4 * width)};
       const int upper = c.Int(0, 8), lower = c.Int(0, 8);
       for (const uint8_t* row : out) {
         c.Expect(row, 4 * width, 1, 4 * width, [&](int x, int) {
           const auto of = [&](uint8_t* from) {
             return [from, width](int at) { return int{from[std::min(at, width - 1)]}; };
           };
           return FourfoldColumn(x, width, upper, lower, of(rows[0]), of(rows[1]));
         });
       }
       upScale4x4BorderRows(out[0], out[1], rows[0], rows[1], width, upper, lower);
     }},
    {"up_scale_context",
     [](Case& c) {
       const Grey src = DrawSource(c, 12);
       // Factors that put positions half-way between samples, and any others.
       const int width = c.OneIn(2) ? 2 * src.width : c.Size();
       const int height = c.OneIn(2) ? std::max(src.height / 2, 1) : c.Int(1, 40);
       const Grey dst = DrawOutput(c, width, height);
       Expect(c, dst, [&](int row, int column) { return Nearest(src, dst, row, column); });
       c.ExpectTrue(up_scale_context(src.data, src.width, src.height, src.pitch, dst.data, width,
                                     height, dst.pitch) == src.data);
     }},
    {"averageGrayU8Down2x2", BlockMeans<&averageGrayU8Down2x2, 2, BlockMean<2, 0>>},
    {"averageGrayU8Down4x4", BlockMeans<&averageGrayU8Down4x4, 4, BlockMean<4, 8>>},
    {"downscale_x4_avg", FixedFactor<&downscale_x4_avg, 1, 2, MeanOfPairs>},
    {"downscale_x16_avg", FixedFactor<&downscale_x16_avg, 1, 4, BlockMean<4, 8>>},
    {"upscale_x4_blinear", FixedFactor<&upscale_x4_blinear, 2, 1, DoubleRounded>},
    {"upscale_x16_blinear", FixedFactor<&upscale_x16_blinear, 4, 1, QuadrupleAligned>},
    {"erosion", Morphology<&erosion, true>},
    {"dilation", Morphology<&dilation, false>},
};

}  // namespace vantro::test
