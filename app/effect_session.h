// One video through the library's video handle.
#ifndef VANTRO_APP_EFFECT_SESSION_H_
#define VANTRO_APP_EFFECT_SESSION_H_

#include <array>
#include <optional>

#include "app/ffmpeg.h"
#include "app/frame_format.h"
#include "vantro/vantro.h"

namespace vantro::app {

// Hides that the library renders one frame behind its input: it keeps the two frame buffers that
// the handle needs, and feeds the last frame once more so that every frame comes out.
//
// The newest frame must stay unchanged while its segmentation runs, that is until the next call has
// returned; that call renders it in place. By then the buffer of the frame before it has been
// handed out, so two buffers are enough.
class EffectSession {
 public:
  // With `rect` only that rectangle is rendered. Throws RunError when the library refuses to start.
  EffectSession(const FrameShape& shape, const std::optional<Rect_t>& rect);
  ~EffectSession();
  EffectSession(const EffectSession&) = delete;
  EffectSession& operator=(const EffectSession&) = delete;

  // Where the next frame is to be written. Ends the life of the last rendered frame.
  uint8_t* input() { return buffers_[newest_ ^ 1].get(); }
  // Feeds the frame written to input(). Returns the frame before it, rendered; null for the first.
  uint8_t* Feed();
  // Returns the last frame, rendered; null when there was none. Nothing can be fed after it.
  uint8_t* Finish();

 private:
  void Process();

  FrameShape shape_;
  Rect_t rect_;
  bool whole_frame_;
  MemPool pool_;
  std::array<BytesPtr, 2> buffers_;
  unsigned newest_ = 0;  // the buffer of the frame fed last
  bool started_ = false;
  void* handle_ = nullptr;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_EFFECT_SESSION_H_
