// Labelling, the region filters and the subject check, on a person with a few islands and on noise
// in which every second pixel starts a run. The peer of labelling and filter is OpenCV's labelling
// alone.
#include <algorithm>

#include "bench/support/host.h"
#include "bench/support/operation.h"
#include "bench/support/silhouette.h"
#include "vantro/mask.h"
#include "vantro/tracked_alloc.h"

#if defined(VANTRO_HAVE_OPENCV)
#include <opencv2/imgproc.hpp>
#endif

namespace vantro::bench {
namespace {

constexpr int kPersonPerCent = 5;

struct MaskShape {
  int side;
  bool noise;

  size_t pixels() const { return static_cast<size_t>(side) * static_cast<size_t>(side); }
  std::string name() const {
    const std::string text = std::to_string(side);
    return text + "x" + text + (noise ? " noise" : " person");
  }
  std::vector<uint8_t> Make() const {
    if (!noise) return Silhouette(side, side);
    std::vector<uint8_t> mask = NoiseBuffer(pixels());
    for (uint8_t& byte : mask) byte = byte >> 7;
    return mask;
  }
};

template <typename Body>
void AddMask(const std::string& operation, const MaskShape& shape, size_t touched, Body body) {
  Add(operation, shape.name(), touched,
      [=] { return [=, mask = shape.Make()]() mutable { body(mask.data(), shape.side); }; });
}

void AddOpenCv([[maybe_unused]] const std::string& operation,
               [[maybe_unused]] const MaskShape& shape) {
#if defined(VANTRO_HAVE_OPENCV)
  AddPeer(operation, "OpenCV", shape.name(), [=] {
    cv::setNumThreads(1);
    return [=, mask = shape.Make(), labels = cv::Mat()]() mutable {
      const cv::Mat image(shape.side, shape.side, CV_8U, mask.data());
      benchmark::DoNotOptimize(cv::connectedComponents(image, labels, 4, CV_32S));
    };
  });
#endif
}

int Label(std::vector<int>& labels, uint8_t* mask, int side, bool both_passes) {
  ConnectedComponentsLabeling labeller{new LabelEntry[128](), 0, 128};
  const int regions = both_passes ? labeller.connected(mask, labels.data(), side, side)
                                  : labeller.labelImage(mask, labels.data(), side, side);
  delete[] labeller.table;
  return regions;
}

void AddLabelling(const std::string& operation, const MaskShape& shape, bool both_passes) {
  AddMask(
      operation, shape, 5 * shape.pixels(),
      [both_passes, labels = std::vector<int>(shape.pixels())](uint8_t* mask, int side) mutable {
        benchmark::DoNotOptimize(Label(labels, mask, side, both_passes));
      });
  AddOpenCv(operation, shape);
}

// A cleared mask stays clear, so every round works on a fresh copy; the copy is part of the figure.
void AddFilters(const MaskShape& shape) {
  AddMask("connectionFilter", shape, 2 * shape.pixels(),
          [=, fresh = shape.Make(), cxt = std::make_shared<AlgoCxt>()](uint8_t* mask, int side) {
            cxt->pool = HeapPool();
            std::copy(fresh.begin(), fresh.end(), mask);
            connectionFilter(cxt.get(), mask, side, side, kPersonPerCent);
          });
  AddOpenCv("connectionFilter", shape);
  AddMask("connectionFilterGuide", shape, 3 * shape.pixels(),
          [=, fresh = shape.Make(), guide = shape.Make()](uint8_t* mask, int side) mutable {
            fmalloc = &HeapAlloc;
            ffree = &HeapFree;
            std::copy(fresh.begin(), fresh.end(), mask);
            connectionFilterGuide(nullptr, mask, guide.data(), side, side);
          });
}

// The steps of the filters, on labels that are there already.
void AddSteps(const MaskShape& shape) {
  std::vector<uint8_t> mask = shape.Make();
  std::vector<int> labels(mask.size());
  const int regions = Label(labels, mask.data(), shape.side, true);
  std::vector<int> table(static_cast<size_t>(regions), 1);
  const size_t touched = 5 * shape.pixels();
  AddMask("calArea", shape, 4 * shape.pixels(), [=](uint8_t*, int side) mutable {
    calArea(labels.data(), side, side, regions, table.data());
  });
  AddMask("getMask", shape, touched, [=](uint8_t* pixels, int side) mutable {
    getMask(pixels, labels.data(), side, side, regions, table.data(), 1);
  });
  AddMask("JudgeArea", shape, touched, [=](uint8_t* guide, int side) mutable {
    JudgeArea(labels.data(), guide, side, side, regions, table.data());
  });
  AddMask("getMaskbyBase", shape, touched, [=](uint8_t* pixels, int side) mutable {
    getMaskbyBase(pixels, labels.data(), side, side, table.data());
  });
  AddMask("getMaskBase_part", shape, touched / 2, [=](uint8_t* pixels, int side) mutable {
    getMaskBase_part(pixels, labels.data(), side, 0, side / 2, table.data());
  });
}

void AddSubjectCheck(const MaskShape& shape) {
  const size_t pixels = shape.pixels();
  AddMask("GetROI", shape, 2 * pixels, [=, cxt = AlgoCxt{}](uint8_t* mask, int side) mutable {
    Vantro_t record{};
    record.width = record.height = 1000;
    record.mask = mask;
    record.maskw = record.maskh = side;
    record.crop_param = {0, 999, 0, 999, 2};
    int flag = 0;
    GetROI(&cxt, record, &flag);
    benchmark::DoNotOptimize(flag);
  });
  AddMask("GetSubject", shape, pixels, [cxt = AlgoCxt{}](uint8_t* mask, int side) mutable {
    uint8_t type = 0;
    GetSubject(&cxt, mask, side, side, &type);
    benchmark::DoNotOptimize(type);
  });
  AddMask("CheckMask", shape, pixels, [](uint8_t* mask, int side) {
    int found = 0;
    CheckMask(mask, side, side, &found);
    benchmark::DoNotOptimize(found);
  });
  AddMask("PreserveObjMask", shape, 2 * pixels, [](uint8_t* mask, int side) {
    int kept = 0;
    PreserveObjMask(mask, side, side, 1, &kept);
    benchmark::DoNotOptimize(kept);
  });
  AddMask("ComputeMaskArea", shape, pixels, [](uint8_t* mask, int side) {
    benchmark::DoNotOptimize(ComputeMaskArea(mask, side, side, 1920, 1080));
  });
}

const bool kAdded = [] {
  for (const MaskShape& shape : {MaskShape{160, false}, MaskShape{256, false},
                                 MaskShape{512, false}, MaskShape{256, true}}) {
    AddLabelling("ConnectedComponentsLabeling::connected", shape, true);
    AddFilters(shape);
  }
  constexpr MaskShape kShape{256, false};
  AddLabelling("ConnectedComponentsLabeling::labelImage", kShape, false);
  AddSteps(kShape);
  AddSubjectCheck(kShape);
  Add("ConnectedComponentsLabeling::newLabel", "and merge, 1000 labels", 0, [] {
    return [] {
      ConnectedComponentsLabeling labeller{new LabelEntry[128](), 0, 128};
      for (int label = labeller.newLabel(); label < 1000; label = labeller.newLabel()) {
        benchmark::DoNotOptimize(labeller.merge(label, label / 2));
      }
      delete[] labeller.table;
    };
  });
  Add("IsSupportType", "one code", 0, [] {
    return [code = uint8_t{0}]() mutable { benchmark::DoNotOptimize(IsSupportType(code++)); };
  });
  return true;
}();

}  // namespace
}  // namespace vantro::bench
