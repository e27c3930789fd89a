// The record behind a handle, shared by the video and the photo family.
#ifndef VANTRO_PIPELINE_CONTEXT_H_
#define VANTRO_PIPELINE_CONTEXT_H_

#include <cstdint>

#include "pipeline/engine_binding.h"
#include "vantro/algo_context.h"
#include "vantro/thread.h"
#include "vantro/vantro.h"

namespace vantro {

inline constexpr uint32_t kContextMagic = 201809060;
inline constexpr char kVersion[] = "20190301";

// Slots of the per-frame history rings; a frame's slot is its index modulo this.
inline constexpr int kRingSlots = 10;

// What the subject check says of the picture being rendered.
enum SubjectFlag : int { kSubjectTooSmall = 0, kSubjectPresent = 3, kNoSubject = 4 };

// Value of box_mode in the boxes that the engine is given.
inline constexpr int32_t kMaskBoxMode = 2;

// What the two families of handles do differently while opening and closing.
struct HandleFamily {
  const char* init_name;
  const char* deinit_name;
  int call_level;            // of the line that names a call and the version
  const char* call_tag;      // likewise, and of refused arguments
  const char* no_pool_tag;   // of a refused pool
  const char* not_open;      // line of a handle that cannot be closed
  int progress_level;        // of the lines that the log switch enables
  const char* progress_tag;  // likewise
  const char* printlog_property;
  const char* dump_property;
  const char* box_vantro_name;  // allocation name of the second crop box
  EngineTexts engine;
};

extern const HandleFamily kVideoFamily;
extern const HandleFamily kPhotoFamily;

// From the C heap, zeroed at creation. Everything it points to comes from the caller's pool, but
// for the loaded engine library and the worker pool.
struct VantroContext {
  uint32_t magic;  // kContextMagic while the handle is open
  AlgoCxt* algo_cxt;
  void* seg_handle;
  uint8_t* mask;         // the next segmentation writes here
  int32_t Seg_OUTPUT_W;  // mask size, fixed by the engine
  int32_t Seg_OUTPUT_H;
  CROP_BOX* box;
  CROP_BOX* box_vantro;  // the engine writes the subject's crop box here
  void* dl_handle;
  SegCreate LINK_SegPlimra_Create;
  SegProcess LINK_SegPlimra_Process;
  SegDestroy LINK_SegPlimra_Destroy;
  int32_t frameIdx;               // video: frames since opening or the last restart
  uint8_t* lastMask;              // mask of the frame being rendered
  uint8_t* firstFrameIdxTempYuv;  // video: copy of a sequence's first frame, until the second
  int32_t firstFramesize;
  SegmentationInterface* algoInterface;
  int32_t th_num;
  MThreadPool* th_pool;
  SegTaskArgs seg_task;  // here, so that it outlives the call while the worker runs
  Rect_t seg_rect;       // rectangle of the frame being segmented
  Rect_t mask_rect;      // rectangle of the frame whose mask is in lastMask
  int32_t* flash_flag;   // history rings of the flash and motion check
  int32_t* move_flag;
  int32_t* area;
  int32_t printlog;
  int32_t isDumpImg;

  const HandleFamily* family;
  bool engine_alive;  // Plimra_Create succeeded, Plimra_Destroy has not been called
  // The two mask buffers trade places from frame to frame; these keep the names straight.
  uint8_t* allocated_as_mask;
  uint8_t* allocated_as_last_mask;
  // Bytes that the previous frame's record described, or the copy of a first frame has: the most
  // that rendering that buffer with the geometry of the next record may touch.
  int64_t last_frame_bytes;
};

// Logs the call of Init, writes null into the caller's handle and checks the arguments. Returns the
// result code of a refusal, with its line written, or 0.
int32_t CheckInit(const HandleFamily& family, void** handle_kc, const char* xml_name,
                  const MemPool* pool);

// Logs the call of Deinit. Returns the open handle, or null with a line written.
VantroContext* HandleToClose(const HandleFamily& family, void** handle);

// Opens the part that both families share: context, switches, crop boxes. On failure writes the
// line, leaves nothing allocated and returns the result code in `result`.
VantroContext* OpenContext(const HandleFamily& family, MemPool* pool, int32_t* result);

// Built-in tuning values into an algorithm context, then the engine library and an engine. Returns
// false after a failure; what was obtained stays in the context for UnwindContext.
bool OpenAlgorithm(VantroContext& cxt, MemPool* pool);

// A zeroed block from the pool; null when there is none.
void* AllocZeroed(MemPool* pool, uint32_t size, const char* name);

// A zeroed mask buffer of the engine's output size from the pool; null when there is none.
uint8_t* AllocMask(const VantroContext& cxt, MemPool* pool, const char* name);

// Releases what a failed opening obtained after the crop boxes, newest first, then the boxes and
// the context itself.
void UnwindContext(VantroContext* cxt, MemPool* pool);

// Destroys the engine, logs a failure of that, and writes the timing line if `write_timing`.
void DestroyEngine(VantroContext& cxt, const char* timing_label, bool write_timing);

// What both families release when a handle closes, in order: the engine library and the algorithm
// context; then (after the video family's worker) the buffers.
void CloseAlgorithm(VantroContext& cxt);
void CloseBuffers(VantroContext* cxt);

// The context behind `handle` if it is an open handle of `family`, else null.
VantroContext* OpenHandle(void* handle, const HandleFamily& family);

// The checks of a frame record that both families make.
bool IsUsableFrame(const Vantro_t* kc_para);

// Percentage of the region filter for the subject type that the subject check found.
int RegionPercent(const AlgoCxt& algo);

}  // namespace vantro

#endif  // VANTRO_PIPELINE_CONTEXT_H_
