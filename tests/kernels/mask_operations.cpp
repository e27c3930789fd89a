// Labelling, region filter, subject check.
#include <algorithm>

#include "tests/kernels/operations.h"
#include "vantro/mask.h"

namespace vantro::test {
namespace {

constexpr int kRegions = 9;

// A mask of 1 and other values; `ones` are the pixels of 1.
struct DrawnMask : Image {
  uint8_t* pixels;
  int64_t ones;

  explicit DrawnMask(Case& c)
      : Image(c.DrawImage()),
        pixels(c.Mask(width, height)),
        ones(std::count(pixels, pixels + size(), 1)) {}

  // Pixels for which clears(number of the pixel) become 0, the others stay.
  template <typename Clears>
  void ExpectCleared(Case& c, Clears clears) const {
    c.Expect(pixels, width, height, width,
             [&](int x, int y) { return clears(int64_t{y} * width + x) ? 0 : kKept; });
  }
};

// With the numbers of its pixels, and a value for each number.
struct Numbered : DrawnMask {
  int32_t* numbers;
  int32_t* values;

  Numbered(Case& c, int highest)
      : DrawnMask(c),
        numbers(c.IntsOut(size(), 0, kRegions - 1)),
        values(c.IntsOut(kRegions, 0, highest)) {}

  // Each value takes in what gather(value, pixel) makes of it with all pixels of its number.
  template <typename Gather>
  void ExpectGathered(Case& c, Gather gather) const {
    c.Expect(values, kRegions, 1, kRegions, [&](int number, int) {
      int value = values[number];
      for (int64_t i = 0; i < size(); ++i) {
        if (numbers[i] == number) value = gather(value, pixels[i]);
      }
      return value;
    });
  }
};

}  // namespace

const std::vector<Operation> kMaskOperations = {
    {"connected",
     [](Case& c) {
       const DrawnMask m(c);
       int32_t* labels = c.IntsOut(m.size(), 0, 9);
       ConnectedComponentsLabeling labeller = {new LabelEntry[1](), 0, 1};
       c.Result(labeller.connected(m.pixels, labels, m.width, m.height));
       delete[] labeller.table;
     }},
    {"connectionFilter",
     [](Case& c) {
       const DrawnMask m(c);
       c.Result(connectionFilter(c.context(), m.pixels, m.width, m.height, c.Int(0, 30)));
     }},
    {"calArea",
     [](Case& c) {
       const Numbered n(c, 5);
       n.ExpectGathered(c, [](int area, uint8_t) { return area + 1; });
       c.ExpectTrue(calArea(n.numbers, n.width, n.height, kRegions, n.values) == 0);
     }},
    {"getMask",
     [](Case& c) {
       const Numbered n(c, 100);
       const int threshold = c.Int(0, 100);
       n.ExpectCleared(c, [&](int64_t i) { return n.values[n.numbers[i]] < threshold; });
       c.ExpectTrue(
           getMask(n.pixels, n.numbers, n.width, n.height, kRegions, n.values, threshold) == 0);
     }},
    {"JudgeArea",
     [](Case& c) {
       const Numbered n(c, 1);
       n.ExpectGathered(c, [](int flag, uint8_t guide) { return flag | guide; });
       c.ExpectTrue(JudgeArea(n.numbers, n.pixels, n.width, n.height, kRegions, n.values) == 0);
     }},
    {"getMaskbyBase",
     [](Case& c) {
       const Numbered n(c, 1);
       const bool all = c.OneIn(2);
       const int begin = all ? 0 : c.Int(0, n.height), end = all ? n.height : c.Int(0, n.height);
       n.ExpectCleared(c, [&](int64_t i) {
         return i / n.width >= begin && i / n.width < end && n.values[n.numbers[i]] == 0;
       });
       if (all) {
         c.ExpectTrue(getMaskbyBase(n.pixels, n.numbers, n.width, n.height, n.values) == 0);
       } else {
         getMaskBase_part(n.pixels, n.numbers, n.width, begin, end, n.values);
       }
     }},
    {"GetROI",
     [](Case& c) {
       const DrawnMask m(c);
       Vantro_t record = {};
       record.mask = m.pixels;
       record.maskw = m.width;
       record.maskh = m.height;
       record.width = c.Int(2, 4000);
       record.height = c.Int(2, 3000);
       record.crop_param = {0, c.Int(0, record.height), 0, c.Int(0, record.width), 2};
       const float columns = static_cast<float>(record.crop_param.crop_right + 1);
       const float rows = static_cast<float>(record.crop_param.crop_bottom + 1);
       // The limit of a subject's size is at its size, but for what rounding makes of it; it is
       // formed in single precision from left to right.
       const double frame = 1.0 * record.width * record.height * m.width * m.height;
       const auto share = static_cast<float>(static_cast<double>(m.ones) * columns * rows / frame);
       c.context()->tuning.area_ratio = share;
       float limit = share * static_cast<float>(record.width);
       limit = limit * static_cast<float>(record.height);
       limit = limit * static_cast<float>(m.height);
       limit = limit * static_cast<float>(m.width);
       limit = limit / rows;
       limit = limit / columns;
       const int expected = m.ones == 0 ? 4 : limit <= static_cast<float>(m.ones) ? 3 : 0;
       m.ExpectCleared(c, [&](int64_t i) { return m.ones > 0 && m.pixels[i] != 1; });
       int flag = -1;
       c.ExpectTrue(GetROI(c.context(), record, &flag) == 0);
       c.ExpectTrue(flag == expected);
     }},
    {"CheckMask",
     [](Case& c) {
       const DrawnMask m(c);
       int found = -1;
       c.ExpectTrue(CheckMask(m.pixels, m.width, m.height, &found) == 0);
       c.ExpectTrue(found == (m.ones > 0 ? 1 : 0));
     }},
    {"PreserveObjMask",
     [](Case& c) {
       const DrawnMask m(c);
       const auto value = static_cast<uint8_t>(c.OneIn(2) ? 1 : c.Int(0, 8));
       const auto kept = std::count(m.pixels, m.pixels + m.size(), value);
       m.ExpectCleared(c, [&](int64_t i) { return m.pixels[i] != value; });
       int count = -1;
       c.ExpectTrue(PreserveObjMask(m.pixels, m.width, m.height, value, &count) == 0);
       c.ExpectTrue(count == kept);
     }},
    {"ComputeMaskArea",
     [](Case& c) {
       const DrawnMask m(c);
       const int frame_width = c.Int(1, 4000);  // drawn in an order that no compiler chooses
       const int frame_height = c.Int(1, 3000);
       const float share =
           static_cast<float>(frame_width * frame_height) / static_cast<float>(m.size());
       c.ExpectTrue(ComputeMaskArea(m.pixels, m.width, m.height, frame_width, frame_height) ==
                    static_cast<int>(share * static_cast<float>(m.ones)));
     }},
};

}  // namespace vantro::test
