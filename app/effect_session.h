// One video through the library's video handle.
#ifndef VANTRO_APP_EFFECT_SESSION_H_
#define VANTRO_APP_EFFECT_SESSION_H_

#include <array>
#include <optional>

#include "app/ffmpeg.h"
#include "app/frame_format.h"
#include "app/library_log.h"
#include "vantro/vantro.h"

namespace vantro::app {

// What the library found out about one frame.
struct FrameFacts {
  LibraryCall call;
  bool checked = false;  // for flashes and motion; otherwise the three below are 0
  int flash = 0;         // 1: the subject's area jumped, or there is none
  int motion = 0;        // 1: moved since the frame before; -1: not known
  int area = 0;          // the subject's, in pixels
};

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
  // About the frame that was returned last.
  const FrameFacts& facts() const { return facts_; }

 private:
  // The library keeps what it finds out about ten frames in blocks of its caller's pool, by slots
  // of the frame number modulo ten (OpticalFlow in vantro/motion.h tells what they hold).
  struct Rings {
    const int32_t* flash = nullptr;
    const int32_t* motion = nullptr;
    const int32_t* area = nullptr;
  };
  // The pool's function; while a handle is opened it notes the rings' blocks by their names.
  static void* Allocate(uint32_t size, const char* name, int32_t zero);
  static thread_local Rings* opening_;

  void Process();
  void CollectFacts();

  FrameShape shape_;
  Rect_t rect_;
  bool whole_frame_;
  MemPool pool_;
  Rings rings_;
  std::array<BytesPtr, 2> buffers_;
  unsigned newest_ = 0;  // the buffer of the frame fed last
  bool started_ = false;
  void* handle_ = nullptr;
  FrameFacts facts_;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_EFFECT_SESSION_H_
