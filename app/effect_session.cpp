#include "app/effect_session.h"

#include <cstring>

#include "app/heap_pool.h"
#include "app/library_log.h"

namespace vantro::app {
EffectSession::EffectSession(const FrameShape& shape, const std::optional<Rect_t>& rect)
    : shape_(shape),
      rect_(rect.value_or(Rect_t{0, 0, shape.height, shape.width, 0, 0})),
      whole_frame_(!rect.has_value()),
      pool_(HeapPool()),
      buffers_{NewBytes(shape.bytes()), NewBytes(shape.bytes())} {
  const int32_t code = Vantro_Init(&handle_, "built-in", &pool_);
  if (code != VANTRO_OK) throw LibraryError("the effect cannot start", code);
}

EffectSession::~EffectSession() { Vantro_Deinit(&handle_); }

uint8_t* EffectSession::Feed() {
  Process();
  if (started_) return buffers_[newest_ ^ 1].get();
  started_ = true;
  if (!whole_frame_) {
    // The library renders the first frame of a sequence over its whole area, whatever the
    // rectangle. Fed twice, that frame is the second one too, and is rendered like the others.
    std::memcpy(input(), buffers_[newest_].get(), shape_.bytes());
    Process();
  }
  return nullptr;
}

uint8_t* EffectSession::Finish() {
  if (!started_) return nullptr;
  // A copy, because the frame is segmented again while it is rendered in place.
  std::memcpy(input(), buffers_[newest_].get(), shape_.bytes());
  return Feed();
}

// The first call has no frame before it; what it renders into the other buffer is thrown away.
void EffectSession::Process() {
  Vantro_t record{};
  record.yuv = buffers_[newest_ ^ 1].get();
  record.last_yuv = buffers_[newest_].get();
  record.yuv_format = shape_.format.code;
  record.width = shape_.width;
  record.height = shape_.height;
  record.stride = shape_.stride;
  record.rect = rect_;
  const int32_t code = Vantro_Process(handle_, &record, nullptr);
  if (code != VANTRO_OK) throw LibraryError("the effect failed on a frame", code);
  newest_ ^= 1;
}

}  // namespace vantro::app
