// Labelling, region filter, subject check.
#include "tests/kernels/operations.h"
#include "vantro/mask.h"

namespace vantro::test {
namespace {

struct Image {
  int width, height;
};

Image Draw(Case& c) {
  Image image = {};
  image.width = c.Size();
  image.height = c.Int(1, 40);
  c.Note(image.width, image.height);
  return image;
}

constexpr int kRegions = 9;

}  // namespace

const std::vector<Operation> kMaskOperations = {
    {"connected",
     [](Case& c) {
       const Image image = Draw(c);
       uint8_t* mask = c.Mask(image.width, image.height);
       int32_t* labels = c.IntsOut(int64_t{image.width} * image.height, 0, 9);
       ConnectedComponentsLabeling labeller = {new LabelEntry[1](), 0, 1};
       c.Result(labeller.connected(mask, labels, image.width, image.height));
       delete[] labeller.table;
     }},
    {"connectionFilter",
     [](Case& c) {
       const Image image = Draw(c);
       uint8_t* mask = c.Mask(image.width, image.height);
       c.Result(connectionFilter(c.context(), mask, image.width, image.height, c.Int(0, 30)));
     }},
    {"calArea",
     [](Case& c) {
       const Image image = Draw(c);
       int32_t* labels = c.IntsOut(int64_t{image.width} * image.height, 0, kRegions - 1);
       c.Result(calArea(labels, image.width, image.height, kRegions, c.IntsOut(kRegions, 0, 5)));
     }},
    {"getMask",
     [](Case& c) {
       const Image image = Draw(c);
       uint8_t* mask = c.Mask(image.width, image.height);
       int32_t* labels = c.IntsOut(int64_t{image.width} * image.height, 0, kRegions - 1);
       int32_t* area = c.IntsOut(kRegions, 0, 100);
       c.Result(getMask(mask, labels, image.width, image.height, kRegions, area, c.Int(0, 100)));
     }},
    {"JudgeArea",
     [](Case& c) {
       const Image image = Draw(c);
       uint8_t* guide = c.Mask(image.width, image.height);
       int32_t* labels = c.IntsOut(int64_t{image.width} * image.height, 0, kRegions - 1);
       int32_t* flags = c.IntsOut(kRegions, 0, 1);
       c.Result(JudgeArea(labels, guide, image.width, image.height, kRegions, flags));
     }},
    {"getMaskbyBase",
     [](Case& c) {
       const Image image = Draw(c);
       uint8_t* mask = c.Mask(image.width, image.height);
       int32_t* labels = c.IntsOut(int64_t{image.width} * image.height, 0, kRegions - 1);
       c.Result(getMaskbyBase(mask, labels, image.width, image.height, c.IntsOut(kRegions, 0, 1)));
     }},
    {"GetROI",
     [](Case& c) {
       const Image image = Draw(c);
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
       const Image image = Draw(c);
       uint8_t* mask = c.Mask(image.width, image.height);
       int found = -1;
       c.Result(CheckMask(mask, image.width, image.height, &found));
       c.Result(found);
     }},
    {"PreserveObjMask",
     [](Case& c) {
       const Image image = Draw(c);
       uint8_t* mask = c.Mask(image.width, image.height);
       int count = -1;
       c.Result(PreserveObjMask(mask, image.width, image.height, 1, &count));
       c.Result(count);
     }},
    {"ComputeMaskArea",
     [](Case& c) {
       const Image image = Draw(c);
       uint8_t* mask = c.Mask(image.width, image.height);
       const int frame_width = c.Int(1, 4000);  // drawn in an order that no compiler chooses
       const int frame_height = c.Int(1, 3000);
       c.Result(ComputeMaskArea(mask, image.width, image.height, frame_width, frame_height));
     }},
};

}  // namespace vantro::test
