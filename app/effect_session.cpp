#include "app/effect_session.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "app/heap_pool.h"
#include "app/library_log.h"

namespace vantro::app {
namespace {

constexpr int kRingSlots = 10;

}  // namespace

thread_local EffectSession::Rings* EffectSession::opening_ = nullptr;

EffectSession::EffectSession(const FrameShape& shape, const std::optional<Rect_t>& rect)
    : shape_(shape),
      rect_(rect.value_or(Rect_t{0, 0, shape.height, shape.width, 0, 0})),
      whole_frame_(!rect.has_value()),
      pool_{&Allocate, HeapPool().free},
      buffers_{NewBytes(shape.bytes()), NewBytes(shape.bytes())} {
  opening_ = &rings_;
  const int32_t code = Vantro_Init(&handle_, "built-in", &pool_);
  opening_ = nullptr;
  if (code != VANTRO_OK) throw CannotStart(code);
}

void* EffectSession::Allocate(uint32_t size, const char* name, int32_t) {
  void* const block = std::malloc(size);
  if (opening_ != nullptr) {
    const std::string_view wanted(name);
    const auto* const ring = static_cast<const int32_t*>(block);
    if (wanted == "flash_flag") opening_->flash = ring;
    if (wanted == "move_flag") opening_->motion = ring;
    if (wanted == "area") opening_->area = ring;
  }
  return block;
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
    ForgetLibraryTally();  // of the frame that is counted the second time
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
  CollectFacts();
}

void EffectSession::CollectFacts() {
  facts_ = {.call = TakeLibraryCall()};
  const int slot = facts_.call.frame_index % kRingSlots;
  // Without a subject the slots are set all the same; with one, the check refuses this layout.
  facts_.checked = facts_.call.frame_index > 0 &&
                   !(facts_.call.subject && shape_.format.code == VANTRO_FORMAT_NV12);
  if (!facts_.checked) return;
  facts_.flash = rings_.flash[slot];
  facts_.motion = rings_.motion[slot];
  facts_.area = rings_.area[slot];
}

}  // namespace vantro::app
