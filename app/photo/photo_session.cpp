#include "app/photo/photo_session.h"

#include "app/heap_pool.h"
#include "app/library_log.h"
#include "app/photo/frame_layout.h"

namespace vantro::app {
namespace {

// The colour path of the library; the other values mean no subject, or too small a one.
constexpr int kSubjectFlag = 3;

}  // namespace

PhotoSession::PhotoSession(const FrameFormat& format) : format_(format), pool_(HeapPool()) {
  const int32_t code = VantroPhoto_Init(&handle_, "built-in", &pool_);
  if (code != VANTRO_OK) throw CannotStart(code);
}

PhotoSession::~PhotoSession() { VantroPhoto_Deinit(&handle_); }

bool PhotoSession::Render(Raster& raster, const FrameSink& before) {
  const FrameShape shape = FrameShapeOf(raster, format_);
  const BytesPtr frame = NewBytes(shape.bytes());
  StoreFrame(raster, shape, frame.get());
  if (before) before(shape, frame.get());

  Vantro_t record{};
  record.yuv = frame.get();
  record.yuv_format = shape.format.code;
  record.width = shape.width;
  record.height = shape.height;
  record.stride = shape.stride;
  record.reset_flag = 1;  // every picture stands for itself
  const int32_t code = VantroPhoto_Process(handle_, &record, nullptr);
  if (code != VANTRO_OK) throw LibraryError("the effect failed", code);
  TakeRenderedFrame(shape, frame.get(), raster);
  return LastPhotoFlag() == kSubjectFlag;
}

}  // namespace vantro::app
