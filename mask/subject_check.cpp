#include <array>
#include <cstring>
#include <limits>

#include "mask/mask_kernels.h"
#include "vantro/algo_context.h"
#include "vantro/mask.h"

namespace {

// Subject flags of GetROI; the context's roi_state takes the first and the last.
constexpr int kNoSubject = 4;
constexpr int kSubjectTooSmall = 0;
constexpr int kSubject = 3;

constexpr int kPerson = 1;
constexpr unsigned char kSubjectPixel = 1;

// The bytes of a width by height mask; 0 for an empty one and for one that passes 32 bits.
size_t MaskBytes(const unsigned char* mask, int width, int height) {
  if (mask == nullptr || width < 1 || height < 1) return 0;
  const size_t bytes = static_cast<size_t>(width) * static_cast<size_t>(height);
  return bytes <= std::numeric_limits<int>::max() ? bytes : 0;
}

bool HasSubject(const unsigned char* mask, size_t bytes) {
  return bytes > 0 && std::memchr(mask, kSubjectPixel, bytes) != nullptr;
}

// True when `pixels` mask pixels, stretched over the crop box, cover area_ratio of the frame. The
// limit is formed in single precision from left to right.
bool CoversEnough(float area_ratio, const Vantro_t& frame, int pixels) {
  const int64_t crop_width = int64_t{frame.crop_param.crop_right} + 1 - frame.crop_param.crop_left;
  const int64_t crop_height = int64_t{frame.crop_param.crop_bottom} + 1 - frame.crop_param.crop_top;
  if (crop_width < 1 || crop_height < 1) return false;
  const float limit = area_ratio * static_cast<float>(frame.width) *
                      static_cast<float>(frame.height) * static_cast<float>(frame.maskh) *
                      static_cast<float>(frame.maskw) / static_cast<float>(crop_height) /
                      static_cast<float>(crop_width);
  return limit <= static_cast<float>(pixels);
}

}  // namespace

int GetROI(void* cxt, Vantro_t kc_para, int* flag) {
  if (cxt == nullptr || kc_para.width == 0 || kc_para.height == 0) return VANTRO_ERR_STAGE_INPUT;
  *flag = kNoSubject;
  if (kc_para.maskw == 0 || kc_para.maskh == 0 || kc_para.mask == nullptr) return VANTRO_OK;

  auto* algo = static_cast<AlgoCxt*>(cxt);
  const size_t bytes = MaskBytes(kc_para.mask, kc_para.maskw, kc_para.maskh);
  if (!HasSubject(kc_para.mask, bytes)) {
    algo->roi_state = kNoSubject;
    return VANTRO_OK;
  }
  const int pixels = static_cast<int>(vantro::KeepValue(kc_para.mask, bytes, kSubjectPixel));
  algo->roi_state = kSubject;
  algo->subject_type = kPerson;
  const bool enough = CoversEnough(algo->tuning.area_ratio, kc_para, pixels);
  *flag = enough ? kSubject : kSubjectTooSmall;
  return VANTRO_OK;
}

int GetSubject(void* cxt, unsigned char* mask, int height, int width, unsigned char* type) {
  if (cxt == nullptr) return VANTRO_ERR_STAGE_INPUT;
  const VantroTuning& tuning = static_cast<const AlgoCxt*>(cxt)->tuning;

  // Nothing adds to the scores of the types 2 to 4.
  std::array<float, 4> scores{};
  const bool empty = MaskBytes(mask, width, height) == 0;
  for (int i = 0; i < height && !empty; ++i) {
    const unsigned char* row = mask + ptrdiff_t{i} * width;
    const float* weights = tuning.grid_weight + 3 * int64_t{i} / height * 3;
    for (int j = 0; j < width; ++j) {
      if (row[j] == kSubjectPixel) {
        scores[0] += tuning.weight_scale * weights[3 * int64_t{j} / width];
      }
    }
  }

  float best = std::numeric_limits<float>::lowest();
  unsigned char best_type = 1;
  for (size_t i = 0; i < scores.size(); ++i) {
    if (scores[i] > best) {
      best = scores[i];
      best_type = static_cast<unsigned char>(i + 1);
    }
  }
  *type = best_type;
  return VANTRO_OK;
}

int CheckMask(unsigned char* mask, int width, int height, int* found) {
  *found = HasSubject(mask, MaskBytes(mask, width, height)) ? 1 : 0;
  return VANTRO_OK;
}

int PreserveObjMask(unsigned char* mask, int width, int height, unsigned char value, int* count) {
  *count = static_cast<int>(vantro::KeepValue(mask, MaskBytes(mask, width, height), value));
  return VANTRO_OK;
}

int ComputeMaskArea(unsigned char* mask, int maskw, int maskh, int width, int height) {
  const size_t bytes = MaskBytes(mask, maskw, maskh);
  if (bytes == 0) return 0;
  const float frame_area = static_cast<float>(int64_t{width} * height);
  const float pixels = static_cast<float>(vantro::CountValue(mask, bytes, kSubjectPixel));
  const float area = frame_area / static_cast<float>(bytes) * pixels;
  // Beyond what an int holds the conversion is undefined.
  constexpr float kLimit = 2147483648.0f;
  if (area >= kLimit) return std::numeric_limits<int>::max();
  if (area < -kLimit) return std::numeric_limits<int>::min();
  return static_cast<int>(area);
}

bool IsSupportType(unsigned char code) { return code == 1; }
