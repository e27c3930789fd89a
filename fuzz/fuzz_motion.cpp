// Optical flow, flash and motion flags, Gaussian blur and small matrices: any size, stride, kernel
// length and content.
#include <algorithm>

#include "fuzz/context.h"
#include "fuzz/operations.h"
#include "vantro/motion.h"

namespace vantro::fuzz {
namespace {

struct Image {
  explicit Image(FuzzSource& in) : w(in.Size()), h(in.Size()) {}
  int64_t size() const { return Plane(w, h, w); }
  int w, h;
};

int32_t* Ring(FuzzSource& in) { return reinterpret_cast<int32_t*>(in.Floats(10)); }

template <auto kBlur, int kLength>
void Member(FuzzSource& in) {
  const Image image(in);
  // The members take their callers' word for strides.
  const int src_stride = std::max(in.Pitch(image.w), image.w);
  const int dst_stride = std::max(in.Pitch(image.w), image.w);
  unsigned short weights[kLength];
  for (unsigned short& weight : weights) weight = in.Take<unsigned short>();
  const uint8_t* src = in.Bytes(Plane(image.w, image.h, src_stride));
  uint8_t* dst = in.Bytes(Plane(image.w, image.h, dst_stride));
  kBlur(src, dst, image.w, image.h, src_stride, dst_stride, weights);
}

constexpr Operation kOperations[] = {
    [](FuzzSource& in) {
      const Image image(in);
      const int src_stride = in.Pitch(image.w), dst_stride = in.Pitch(image.w);
      // A refused kernel length copies the padding, too.
      const uint8_t* src = in.Bytes(Plane(src_stride, image.h, src_stride));
      uint8_t* dst = in.Bytes(Plane(dst_stride, image.h, dst_stride));
      const float sigma = in.OneIn(4) ? in.Take<float>() : 0.1f * in.Take<uint8_t>();
      gaussian_blur(src, dst, image.w, image.h, src_stride, dst_stride, in.Int(-1, 15), sigma,
                    nullptr, in.OneIn(8) ? in.Any() : 1, nullptr);
    },
    Member<&GaussianBlur3x3_u8, 3>,
    Member<&GaussianBlur7x7_u8, 7>,
    Member<&GaussianBlur13x13_u8, 13>,
    [](FuzzSource& in) {
      const Image image(in);
      uint8_t* first = in.Bytes(image.size());
      uint8_t* second = in.Bytes(image.size());
      const auto limit = in.Take<float>(), local = in.Take<float>();
      const auto x0 = in.Take<float>(), y0 = in.Take<float>();
      const auto x1 = in.Take<float>(), y1 = in.Take<float>();
      CompareOpticalFlow(first, second, limit, image.w, image.h, local, x0, y0, x1, y1);
    },
    [](FuzzSource& in) {
      const Image image(in);
      uint8_t* first = in.Bytes(image.size());
      uint8_t* second = in.Bytes(image.size());
      ME_Handler* handle = nullptr;
      const float scale = in.OneIn(4) ? in.Take<float>() : 0.5f;
      if (opticalFlow_Init(&handle, in.Int(-1, 6), scale, image.w, image.h) != 0) return;
      build_OF_Pyramid(handle, first, in.Int(-1, 9), in.OneIn(4) ? in.Take<float>() : 1.5f);
      doOpticalFlow(handle, second);
      opticalFlow_unInit(handle);
    },
    [](FuzzSource& in) {
      const Image image(in);
      const float* r0 = in.Floats(5 * image.size());
      const float* r1 = in.Floats(5 * image.size());
      float* flow = in.Floats(2 * image.size());
      float* matrices = in.Floats(5 * image.size());
      opticalFKUpdateMatrices(r0, r1, flow, image.w, image.h, matrices, in.Size(), in.Size());
      float* row = in.Floats(5 * Plane(image.w, 1, image.w));
      opticalFK_Blur(r0, r1, flow, row, image.w, image.h, matrices, in.Size(), in.OneIn(2));
    },
    [](FuzzSource& in) {
      OpticalFlow record = {};
      record.yuv_format = in.OneIn(2) ? VANTRO_FORMAT_NV21 : VANTRO_FORMAT_UYVY;
      record.width = in.Size();
      record.height = in.Size();
      record.stride = in.Pitch(record.width);
      record.frameIdx = in.Int(1, INT32_MAX);
      record.mask_width = in.Size();
      record.mask_height = in.Size();
      const int64_t bytes = record.yuv_format == VANTRO_FORMAT_UYVY
                                ? Packed(record.width, record.height, record.stride)
                                : Plane(record.width, record.height, record.stride);
      record.yuv = in.Bytes(bytes);
      record.last_yuv = in.Bytes(bytes);
      record.mask = in.Bytes(Plane(record.mask_width, record.mask_height, record.mask_width));
      record.flash_flag = Ring(in);
      record.move_flag = Ring(in);
      record.area = Ring(in);
      record.crop_param = {in.Any(), in.Any(), in.Any(), in.Any(), in.Any()};
      record.engine_box = {in.Size(), in.Size(), in.Size(), in.Size(), in.Any()};
      int flag = 3;
      GetFlashFlag(Context(), record, &flag);
    },
};

}  // namespace
}  // namespace vantro::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return vantro::fuzz::RunOperation(vantro::fuzz::kOperations, data, size);
}
