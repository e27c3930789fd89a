// Still pictures through the library's photo handle.
#ifndef VANTRO_APP_PHOTO_PHOTO_SESSION_H_
#define VANTRO_APP_PHOTO_PHOTO_SESSION_H_

#include <functional>
#include <string>

#include "app/ffmpeg.h"
#include "app/frame_format.h"
#include "app/photo/raster.h"
#include "vantro/vantro.h"

namespace vantro::app {

// Used by one thread at a time; several sessions may work at once.
class PhotoSession {
 public:
  // Throws RunError when the library refuses to start.
  explicit PhotoSession(const FrameFormat& format);
  ~PhotoSession();
  PhotoSession(const PhotoSession&) = delete;
  PhotoSession& operator=(const PhotoSession&) = delete;

  // A frame as the library gets it.
  using FrameSink = std::function<void(const FrameShape& shape, uint8_t* frame)>;

  // Renders `raster` in place and tells whether a person was found. `before`, when set, is shown
  // the frame first. Throws RunError.
  bool Render(Raster& raster, const FrameSink& before);

 private:
  FrameFormat format_;
  MemPool pool_;
  void* handle_ = nullptr;
};

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_PHOTO_SESSION_H_
