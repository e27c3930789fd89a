// Optical flow, Gaussian blur, small matrices.
#include <array>
#include <cstring>

#include "tests/kernels/operations.h"
#include "vantro/motion.h"

namespace vantro::test {
namespace {

template <auto kBlur, int kLength>
void Member(Case& c) {
  const Image image = c.DrawImage();
  const int src_stride = c.Pitch(image.width);
  const int dst_stride = c.Pitch(image.width);
  std::array<unsigned short, 13> weights{};
  // Any weights, or ones of a sum of 256 as the blur makes them.
  const bool sums_to_256 = c.OneIn(2);
  int rest = 256;
  for (int i = 0; i < kLength / 2; ++i) {
    const int weight = c.Int(0, sums_to_256 ? rest / 4 : 300);
    weights[static_cast<size_t>(i)] = static_cast<unsigned short>(weight);
    rest -= 2 * weight;
  }
  weights[kLength / 2] = static_cast<unsigned short>(sums_to_256 ? rest : c.Int(0, 300));
  for (size_t i = 0; i < kLength / 2; ++i) weights[kLength - 1 - i] = weights[i];
  const uint8_t* src = c.In(Case::Plane(image.width, image.height, src_stride));
  uint8_t* dst = c.Out(Case::Plane(image.width, image.height, dst_stride));
  c.Result(kBlur(src, dst, image.width, image.height, src_stride, dst_stride, weights.data()));
}

}  // namespace

const std::vector<Operation> kMotionOperations = {
    {"opticalFKPolyExp",
     [](Case& c) {
       const Image image = c.DrawImage();
       const int n = c.Int(1, 9);
       const double sigma = n == 7 ? 1.5 : 0.3 * n;
       const float* src = c.FloatsIn(image.size(), c.Int(0, 1) == 0 ? 0.0f : 1.0f, 255.0f);
       float* dst = c.FloatsOut(5 * image.size(), 0.0f, 1.0f);
       float* kernel = c.FloatsOut(3 * (2 * n + 1), 0.0f, 1.0f);
       float* row = c.FloatsOut(3 * (image.width + 2 * n), 0.0f, 1.0f);
       c.Result(opticalFKPolyExp(src, dst, kernel, row, image.width, image.height, n, sigma));
     }},
    {"opticalFKUpdateMatrices",
     [](Case& c) {
       const Image image = c.DrawImage();
       const float* r0 = c.FloatsIn(5 * image.size(), -20.0f, 20.0f);
       const float* r1 = c.FloatsIn(5 * image.size(), -20.0f, 20.0f);
       const float* flow = c.FloatsIn(2 * image.size(), -30.0f, 30.0f);
       float* matrices = c.FloatsOut(5 * image.size(), 0.0f, 1.0f);
       const int first = c.Int(0, image.height - 1);
       const int end = c.Int(first, image.height);
       c.Result(
           opticalFKUpdateMatrices(r0, r1, flow, image.width, image.height, matrices, first, end));
     }},
    {"opticalFK_Blur",
     [](Case& c) {
       const Image image = c.DrawImage();
       const float* r0 = c.FloatsIn(5 * image.size(), -20.0f, 20.0f);
       const float* r1 = c.FloatsIn(5 * image.size(), -20.0f, 20.0f);
       float* flow = c.FloatsOut(2 * image.size(), -3.0f, 3.0f);
       float* row = c.FloatsOut(5 * image.width, 0.0f, 1.0f);
       float* matrices = c.FloatsOut(5 * image.size(), -50.0f, 50.0f);
       const int block = c.Int(1, 25);
       const bool refresh = c.OneIn(2);
       c.Result(
           opticalFK_Blur(r0, r1, flow, row, image.width, image.height, matrices, block, refresh));
     }},
    {"__pointMulit",
     [](Case& c) {
       const Image image = c.DrawImage();
       float* values = c.FloatsOut(2 * image.size(), -9.0f, 9.0f);
       __pointMulit(values, c.Float(0.1f, 3.0f), image.width, image.height);
     }},
    {"__convertToFloat",
     [](Case& c) {
       const Image image = c.DrawImage();
       const uint8_t* src = c.In(image.size());
       __convertToFloat(src, c.FloatsOut(image.size(), 0.0f, 1.0f), image.width, image.height);
     }},
    {"CompareOpticalFlow",
     [](Case& c) {
       const Image image = c.DrawImage();
       auto* first = c.In(image.size());
       auto* second = c.In(image.size());
       const float global = c.Float(0.0f, 3.0f) * static_cast<float>(image.size());
       const float local = c.Float(0.0f, 3.0f);
       c.Result(CompareOpticalFlow(first, second, global, image.width, image.height, local, 0.25f,
                                   0.25f, 0.75f, 0.75f));
     }},
    {"doOpticalFlow",
     [](Case& c) {
       const int width = c.Int(32, 110);
       const int height = c.Int(32, 80);
       auto* first = c.In(int64_t{width} * height);
       auto* second = c.In(int64_t{width} * height);
       ME_Handler* handle = nullptr;
       c.Result(opticalFlow_Init(&handle, c.Int(0, 2), 0.5f, width, height));
       if (handle == nullptr) return;
       const int built = build_OF_Pyramid(handle, first, 7, 1.5f);
       c.Result(built);
       const int done = built == 0 ? doOpticalFlow(handle, second) : -1;
       c.Result(done);
       uint8_t* field = c.Out(int64_t{8} * width * height);
       for (int64_t i = 0; done == 0 && i < int64_t{width} * height; ++i) {
         std::memcpy(field + 8 * i, handle->flow_x + i, sizeof(float));
         std::memcpy(field + 8 * i + 4, handle->flow_y + i, sizeof(float));
       }
       opticalFlow_unInit(handle);
     }},
    {"gaussian_blur",
     [](Case& c) {
       const Image image = c.DrawImage();
       const int src_stride = c.Pitch(image.width);
       const int dst_stride = c.Pitch(image.width);
       const int length = 2 * c.Int(1, 6) + 1;
       const float sigma = c.OneIn(3) ? 0.0f : c.Float(0.3f, 4.0f);
       const uint8_t* src = c.In(Case::Plane(image.width, image.height, src_stride));
       uint8_t* dst = c.Out(Case::Plane(image.width, image.height, dst_stride));
       c.Result(gaussian_blur(src, dst, image.width, image.height, src_stride, dst_stride, length,
                              sigma, nullptr, 1, nullptr));
     }},
    {"GaussianBlur3x3_u8", Member<&GaussianBlur3x3_u8, 3>},
    {"GaussianBlur5x5_u8", Member<&GaussianBlur5x5_u8, 5>},
    {"GaussianBlur7x7_u8", Member<&GaussianBlur7x7_u8, 7>},
    {"GaussianBlur9x9_u8", Member<&GaussianBlur9x9_u8, 9>},
    {"GaussianBlur11x11_u8", Member<&GaussianBlur11x11_u8, 11>},
    {"GaussianBlur13x13_u8", Member<&GaussianBlur13x13_u8, 13>},
    {"GetFlashFlag",
     [](Case& c) {
       OpticalFlow record = {};
       record.yuv_format = c.OneIn(2) ? VANTRO_FORMAT_NV21 : VANTRO_FORMAT_UYVY;
       record.width = c.Size(8) / 2 * 2;
       record.height = c.Int(4, 40) * 2;
       record.stride = c.Pitch(record.width);
       record.frameIdx = c.Int(1, 50);
       record.mask_width = c.Int(1, 40);
       record.mask_height = c.Int(1, 30);
       const int64_t bytes = record.yuv_format == VANTRO_FORMAT_UYVY
                                 ? Case::Packed(record.width, record.height, record.stride)
                                 : Case::SemiPlanar(record.width, record.height, record.stride);
       record.yuv = c.In(bytes);
       record.last_yuv = c.In(bytes);
       record.mask = c.Mask(record.mask_width, record.mask_height);
       record.flash_flag = c.IntsOut(10, 0, 1);
       record.move_flag = c.IntsOut(10, -1, 1);
       record.area = c.IntsOut(10, 0, record.width * record.height);
       record.crop_param = {0, record.height - 1, 0, record.width - 1, 2};
       int flag = 3;
       c.Result(GetFlashFlag(c.context(), record, &flag));
       c.Result(flag);
     }},
};

}  // namespace vantro::test
