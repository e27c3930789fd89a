// Creation and release of flow handles.
#include "motion/flow_handle.h"

#include <sys/types.h>

#include <cstddef>
#include <limits>

#include "support/log.h"
#include "vantro/bounded.h"
#include "vantro/tracked_alloc.h"

namespace vantro {
namespace {

constexpr int kHighestLevel = 4;
constexpr int kSmallestLevelSide = 32;

constexpr char kBufferName[] = "allocOF_Buffer";

// The highest level, at most `levels`, whose image is large enough.
int HighestLevel(int levels, float pyr_scale, int width, int height) {
  constexpr float kSmallest = kSmallestLevelSide;
  float scale = 1.0f;
  int level = 0;
  for (int i = 0; i < levels; ++i) {
    scale *= pyr_scale;
    if (scale * static_cast<float>(width) < kSmallest ||
        scale * static_cast<float>(height) < kSmallest) {
      break;
    }
    ++level;
  }
  return level;
}

template <typename T>
bool AllocBuffer(int64_t count, T** buffer) {
  constexpr int64_t kMost = std::numeric_limits<int>::max() / static_cast<int64_t>(sizeof(T));
  *buffer = count > kMost
                ? nullptr
                : static_cast<T*>(__Malloc(
                      static_cast<int>(count * static_cast<int64_t>(sizeof(T))), kBufferName));
  return *buffer != nullptr;
}

bool AllocBuffers(ME_Handler* handle) {
  const int64_t pixels = int64_t{handle->width} * handle->height;
  const int64_t scratch = ScratchImageSize(handle->width, handle->height);
  if (!AllocBuffer(scratch, &handle->tmp_fImg)) {
    VANTRO_LOGE(kTagPlain, "[%s] Malloc tmp_fImg Failed: %zd", kTagPlain,
                static_cast<ssize_t>(static_cast<uint64_t>(scratch) * sizeof(float)));
    return false;
  }
  if (!AllocBuffer(5 * pixels, &handle->matM) || !AllocBuffer(pixels, &handle->src_f)) return false;
  for (int level = 0; level <= handle->max_level; ++level) {
    const LevelSize size = SizeOfLevel(*handle, level);
    const int64_t coefficients = int64_t{5} * size.width * size.height;
    if (!AllocBuffer(coefficients, &handle->poly[0][level]) ||
        !AllocBuffer(coefficients, &handle->poly[1][level])) {
      return false;
    }
  }
  return AllocBuffer(pixels, &handle->blur_img) && AllocBuffer(2 * pixels, &handle->flow_a) &&
         AllocBuffer(2 * pixels, &handle->flow_b) &&
         AllocBuffer(int64_t{5} * (int64_t{handle->width} + 7), &handle->vsum);
}

// Releases what the handle holds, in the order of allocation, then the handle.
void FreeHandle(ME_Handler* handle, const char* buffer_name, const char* handle_name) {
  const auto free_buffer = [buffer_name](void* buffer) {
    if (buffer != nullptr) __Free(buffer, buffer_name);
  };
  free_buffer(handle->tmp_fImg);
  free_buffer(handle->matM);
  free_buffer(handle->src_f);
  for (int level = 0; level <= kHighestLevel; ++level) {
    free_buffer(handle->poly[0][level]);
    free_buffer(handle->poly[1][level]);
  }
  free_buffer(handle->blur_img);
  free_buffer(handle->flow_a);
  free_buffer(handle->flow_b);
  free_buffer(handle->vsum);
  __Free(handle, handle_name);
}

}  // namespace
}  // namespace vantro

int opticalFlow_Init(ME_Handler** out, int levels, float pyr_scale, int width, int height) {
  using namespace vantro;
  static constexpr char kSelf[] = "opticalFlow_Init";
  if (out == nullptr) return -1;
  *out = nullptr;
  // Written so that a scale that is not a number is refused, too.
  if (levels > kHighestLevel || !(pyr_scale <= 1.0f) || width < 1 || height < 1) {
    VANTRO_LOGE(kTagPlain, "invalid parameter size(%d x %d) pyrScale(%f) maxLevel(%d}", width,
                height, static_cast<double>(pyr_scale), levels);
    return -1;
  }
  auto* handle = static_cast<ME_Handler*>(__Malloc(sizeof(ME_Handler), kSelf));
  if (handle == nullptr) {
    VANTRO_LOGE(kTagPlain, "Malloc OF_Handler Failed!");
    return -1;
  }
  memset_s(handle, sizeof(*handle), 0, sizeof(*handle));
  handle->max_level = HighestLevel(levels, pyr_scale, width, height);
  handle->width = width;
  handle->height = height;
  handle->pyr_scale = pyr_scale;
  handle->level_scale[0] = 1.0f;
  for (int level = 1; level <= handle->max_level; ++level) {
    handle->level_scale[level] = handle->level_scale[level - 1] * pyr_scale;
  }
  if (!AllocBuffers(handle)) {
    VANTRO_LOGE(kTagPlain, "Malloc Buffer Failed!!");
    FreeHandle(handle, kBufferName, kSelf);
    return -1;
  }
  VANTRO_LOGI(kTagPlain, "opticalFlow Init Success!");
  *out = handle;
  return 0;
}

void opticalFlow_unInit(ME_Handler* handle) {
  static constexpr char kSelf[] = "opticalFlow_unInit";
  if (handle != nullptr) vantro::FreeHandle(handle, kSelf, kSelf);
  VANTRO_LOGI(vantro::kTagPlain, "opticalFlow Unit Success!");
}
