// Labelling, region filters and the subject check on masks of any size.
#include "fuzz/context.h"
#include "fuzz/operations.h"
#include "vantro/mask.h"
#include "vantro/tracked_alloc.h"

namespace vantro::fuzz {
namespace {

// A mask with regions of some size, or of any bytes.
struct Mask {
  explicit Mask(FuzzSource& in) : w(in.Size()), h(in.Size()), pixels(in.Bytes(Plane(w, h, w))) {
    const int cell = in.Int(1, 6);
    for (int64_t i = 0; cell > 1 && i < Plane(w, h, w); ++i) {
      pixels[i] = i % cell == 0 ? pixels[i] % 3 : pixels[i - 1];
    }
  }
  int w, h;
  uint8_t* pixels;
};

constexpr int kRegions = 5;

// A label image; the labels may be anything where they are checked.
struct Labels : Mask {
  Labels(FuzzSource& in, bool checked) : Mask(in) {
    const int64_t count = Plane(w, h, w);
    labels = reinterpret_cast<int32_t*>(in.Floats(count));
    if (checked && in.OneIn(4)) return;
    for (int64_t i = 0; i < count; ++i) labels[i] = pixels[i] % kRegions;
  }
  int32_t* labels;
  int32_t regions[kRegions] = {};
};

constexpr Operation kOperations[] = {
    [](FuzzSource& in) {
      const Mask m(in);
      connectionFilter(Context(), m.pixels, m.w, m.h, in.OneIn(4) ? in.Any() : in.Int(0, 100));
    },
    [](FuzzSource& in) {
      fmalloc = &Alloc;
      ffree = &Free;
      const Mask m(in);
      connectionFilterGuide(Context(), m.pixels, in.Bytes(Plane(m.w, m.h, m.w)), m.w, m.h);
    },
    [](FuzzSource& in) {
      Labels l(in, true);
      ConnectedComponentsLabeling labeller = {new LabelEntry[1](), 0, 1};
      labeller.connected(l.pixels, l.labels, l.w, l.h);
      delete[] labeller.table;
    },
    [](FuzzSource& in) {
      Labels l(in, true);
      calArea(l.labels, l.w, l.h, kRegions, l.regions);
      JudgeArea(l.labels, l.pixels, l.w, l.h, kRegions, l.regions);
    },
    [](FuzzSource& in) {
      Labels l(in, false);
      getMask(l.pixels, l.labels, l.w, l.h, kRegions, l.regions, in.Any());
      getMaskbyBase(l.pixels, l.labels, l.w, l.h, l.regions);
    },
    [](FuzzSource& in) {
      const Mask m(in);
      Vantro_t record = {};
      record.mask = m.pixels;
      record.maskw = m.w;
      record.maskh = m.h;
      record.width = in.Any();
      record.height = in.Any();
      record.crop_param = {in.Any(), in.Any(), in.Any(), in.Any(), in.Any()};
      int flag = 0;
      GetROI(Context(), record, &flag);
    },
    [](FuzzSource& in) {
      const Mask m(in);
      int found = 0;
      unsigned char type = 0;
      CheckMask(m.pixels, m.w, m.h, &found);
      ComputeMaskArea(m.pixels, m.w, m.h, in.Any(), in.Any());
      GetSubject(Context(), m.pixels, m.h, m.w, &type);
      PreserveObjMask(m.pixels, m.w, m.h, in.Take<uint8_t>(), &found);
    },
};

}  // namespace
}  // namespace vantro::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return vantro::fuzz::RunOperation(vantro::fuzz::kOperations, data, size);
}
