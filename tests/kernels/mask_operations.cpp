// Labelling, region filter, subject check.
#include "tests/kernels/operations.h"
#include "vantro/mask.h"

namespace vantro::test {
namespace {

constexpr int kRegions = 9;

// A mask, the numbers of its pixels, and a value for each number.
struct Numbered {
  Image image;
  uint8_t* mask;
  int32_t* numbers;
  int32_t* values;

  Numbered(Case& c, int highest)
      : image(c.DrawImage()),
        mask(c.Mask(image.width, image.height)),
        numbers(c.IntsOut(image.size(), 0, kRegions - 1)),
        values(c.IntsOut(kRegions, 0, highest)) {}
};

}  // namespace

const std::vector<Operation> kMaskOperations = {
    {"connected",
     [](Case& c) {
       const Image image = c.DrawImage();
       uint8_t* mask = c.Mask(image.width, image.height);
       int32_t* labels = c.IntsOut(image.size(), 0, 9);
       ConnectedComponentsLabeling labeller = {new LabelEntry[1](), 0, 1};
       c.Result(labeller.connected(mask, labels, image.width, image.height));
       delete[] labeller.table;
     }},
    {"connectionFilter",
     [](Case& c) {
       const Image image = c.DrawImage();
       uint8_t* mask = c.Mask(image.width, image.height);
       c.Result(connectionFilter(c.context(), mask, image.width, image.height, c.Int(0, 30)));
     }},
    {"calArea",
     [](Case& c) {
       const Numbered n(c, 5);
       c.Result(calArea(n.numbers, n.image.width, n.image.height, kRegions, n.values));
     }},
    {"getMask",
     [](Case& c) {
       const Numbered n(c, 100);
       c.Result(getMask(n.mask, n.numbers, n.image.width, n.image.height, kRegions, n.values,
                        c.Int(0, 100)));
     }},
    {"JudgeArea",
     [](Case& c) {
       const Numbered n(c, 1);
       c.Result(JudgeArea(n.numbers, n.mask, n.image.width, n.image.height, kRegions, n.values));
     }},
    {"getMaskbyBase",
     [](Case& c) {
       const Numbered n(c, 1);
       c.Result(getMaskbyBase(n.mask, n.numbers, n.image.width, n.image.height, n.values));
     }},
    {"GetROI",
     [](Case& c) {
       const Image image = c.DrawImage();
       Vantro_t record = {};
       record.mask = c.Mask(image.width, image.height);
       record.maskw = image.width;
       record.maskh = image.height;
       record.width = c.Int(2, 4000);
       record.height = c.Int(2, 3000);
       record.crop_param = {0, c.Int(0, record.height), 0, c.Int(0, record.width), 2};
       int flag = -1;
       c.Result(GetROI(c.context(), record, &flag));
       c.Result(flag);
     }},
    {"CheckMask",
     [](Case& c) {
       const Image image = c.DrawImage();
       uint8_t* mask = c.Mask(image.width, image.height);
       int found = -1;
       c.Result(CheckMask(mask, image.width, image.height, &found));
       c.Result(found);
     }},
    {"PreserveObjMask",
     [](Case& c) {
       const Image image = c.DrawImage();
       uint8_t* mask = c.Mask(image.width, image.height);
       int count = -1;
       c.Result(PreserveObjMask(mask, image.width, image.height, 1, &count));
       c.Result(count);
     }},
    {"ComputeMaskArea",
     [](Case& c) {
       const Image image = c.DrawImage();
       uint8_t* mask = c.Mask(image.width, image.height);
       const int frame_width = c.Int(1, 4000);  // drawn in an order that no compiler chooses
       const int frame_height = c.Int(1, 3000);
       c.Result(ComputeMaskArea(mask, image.width, image.height, frame_width, frame_height));
     }},
};

}  // namespace vantro::test
