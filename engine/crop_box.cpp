#include "engine/crop_box.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vantro::engine {
namespace {

constexpr float kMargin = 1.0f / 8;
// A crop box serves until less than this margin is left...
constexpr float kLeastMargin = 1.0f / 32;
// ...or its area is this much larger than need be.
constexpr double kMostArea = 1.5;

// Aligned pixels [*first, *last] that hold [begin, end) of a line of `limit` pixels.
void AlignLine(float begin, float end, int limit, int32_t* first, int32_t* last) {
  const int usable = limit & ~1;
  const int from = std::clamp(static_cast<int>(std::floor(begin)), 0, usable - 2) & ~1;
  const int to = std::clamp(static_cast<int>(std::ceil(end)), from + 1, usable);
  const int length = (to - from + 3) & ~3;
  if (length > usable) {
    *first = 0;
    *last = usable - 1;
    return;
  }
  *first = std::min(from, usable - length);
  *last = *first + length - 1;
}

double Area(const CROP_BOX& box) {
  return (box.crop_bottom - box.crop_top + 1.0) * (box.crop_right - box.crop_left + 1.0);
}

void SetBounds(const CROP_BOX& bounds, CROP_BOX* box) {
  const int32_t mode = box->box_mode;
  *box = bounds;
  box->box_mode = mode;
}

}  // namespace

void SetWholeFrame(int width, int height, CROP_BOX* box) {
  SetBounds({0, height - 1, 0, width - 1, 0}, box);
}

void SetTightBox(const Bounds& person, int width, int height, CROP_BOX* box) {
  const auto first = [](float edge, int limit) {
    return std::clamp(static_cast<int32_t>(std::floor(edge)), 0, limit - 1);
  };
  const auto last = [](float edge, int32_t from, int limit) {
    return std::clamp(static_cast<int32_t>(std::ceil(edge)) - 1, from, limit - 1);
  };
  const int32_t top = first(person.top, height);
  const int32_t left = first(person.left, width);
  SetBounds({top, last(person.bottom, top, height), left, last(person.right, left, width), 0}, box);
}

void SetCropBox(const Bounds& person, int width, int height, CROP_BOX* box) {
  const float margin_x = (person.right - person.left) * kMargin;
  const float margin_y = (person.bottom - person.top) * kMargin;
  AlignLine(person.left - margin_x, person.right + margin_x, width, &box->crop_left,
            &box->crop_right);
  AlignLine(person.top - margin_y, person.bottom + margin_y, height, &box->crop_top,
            &box->crop_bottom);
}

bool CropFollower::StillServes(const Bounds& person, const CROP_BOX& fresh, int width,
                               int height) const {
  const float margin_x = (person.right - person.left) * kLeastMargin;
  const float margin_y = (person.bottom - person.top) * kLeastMargin;
  // At the frame's edges there is nothing more to hold.
  const auto holds_begin = [](int32_t first, float edge) {
    return first == 0 || static_cast<float>(first) <= edge;
  };
  const auto holds_end = [](int32_t last, float edge, int limit) {
    return last + 1 >= (limit & ~1) || static_cast<float>(last + 1) >= edge;
  };
  return holds_begin(current_.crop_left, person.left - margin_x) &&
         holds_begin(current_.crop_top, person.top - margin_y) &&
         holds_end(current_.crop_right, person.right + margin_x, width) &&
         holds_end(current_.crop_bottom, person.bottom + margin_y, height) &&
         Area(current_) <= kMostArea * Area(fresh);
}

void CropFollower::Follow(const Bounds& person, int width, int height, CROP_BOX* box) {
  CROP_BOX fresh{};
  SetCropBox(person, width, height, &fresh);
  if (!following_ || !StillServes(person, fresh, width, height)) current_ = fresh;
  following_ = true;
  SetBounds(current_, box);
}

}  // namespace vantro::engine
