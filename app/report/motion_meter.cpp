#include "app/report/motion_meter.h"

#include <cmath>
#include <new>

#include "app/failure.h"
#include "vantro/image.h"

namespace vantro::app {
namespace {

// The library's own values.
constexpr int kLevels = 3;
constexpr float kPyramidScale = 0.5F;
constexpr int kReach = 7;
constexpr float kSigma = 1.5F;

constexpr size_t kPixels = size_t{MotionMeter::kSide} * MotionMeter::kSide;

}  // namespace

MotionMeter::MotionMeter() : luma_(kPixels) {
  if (opticalFlow_Init(&flow_, kLevels, kPyramidScale, kSide, kSide) != 0) throw std::bad_alloc();
}

MotionMeter::~MotionMeter() { opticalFlow_unInit(flow_); }

double MotionMeter::Measure(const FrameShape& shape, const uint8_t* frame) {
  const auto reduce = shape.packed() ? &ResizeUYVYtoY : &ResizeNV12toY;
  reduce(frame, luma_.data(), shape.width, shape.stride, shape.height, kSide, kSide);
  double sum = 0;
  if (!last_luma_.empty()) {
    if (build_OF_Pyramid(flow_, luma_.data(), kReach, kSigma) != 0 ||
        doOpticalFlow(flow_, last_luma_.data()) != 0) {
      throw RunError("the optical flow for --report failed");
    }
    for (size_t i = 0; i < kPixels; ++i) {
      sum += std::fabs(flow_->flow_x[i]) + std::fabs(flow_->flow_y[i]);
    }
  }
  last_luma_ = luma_;
  return sum;
}

}  // namespace vantro::app
