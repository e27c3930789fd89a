/*
 * Vantro: the person in the picture keeps their colours, everything else turns grey.
 *
 * This header is all a camera application needs. It is usable from C and from C++.
 *
 * Two families of functions share the records below:
 *   - Vantro_*       a video stream, one handle a stream, output one frame behind the input;
 *   - VantroPhoto_*  single still pictures, rendered in place.
 *
 * Calling order per handle: one Init, any number of Process calls, one Deinit of the same family.
 * A handle may be used by one thread at a time; different handles are independent of each other.
 * Functions report through their result code and through the log (tags "QZA_MVANTRO" and
 * "QZA_VANTRO_PHOTO"); no exception leaves the library. Some lines are logged as errors although
 * all is well, and some go to standard output: README.md, "Log and switches".
 */
#ifndef VANTRO_VANTRO_H_
#define VANTRO_VANTRO_H_

#include <stdint.h>

#include "vantro/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes of the handle functions and of the stages. */
enum {
  VANTRO_OK = 0,
  VANTRO_ERR_FAILED = -1,        /* null Init argument, first-frame copy or engine failure */
  VANTRO_ERR_OPEN = -2000,       /* context, engine library or a buffer of Init not to be had */
  VANTRO_ERR_INPUT = -2001,      /* record, handle or memory pool refused */
  VANTRO_ERR_NO_REGION = -2005,  /* stages: no connected region in the mask */
  VANTRO_ERR_MASK_SIZE = -2006,  /* stages: bad frame, mask or crop box size */
  VANTRO_ERR_STAGE_INPUT = -2007 /* stages: no context, or bad labelling and area arguments */
};

/* Values of Vantro_t::yuv_format. Strides count pixels of the luma plane. */
enum {
  VANTRO_FORMAT_NV21 = 0, /* height luma rows of stride bytes, then height/2 rows of V,U pairs */
  VANTRO_FORMAT_NV12 = 1, /* as NV21 with U,V pairs */
  VANTRO_FORMAT_UYVY = 4  /* packed rows of 2*stride bytes, groups U,Y0,V,Y1 */
};

/* A rectangle of a frame in pixels. Note the order: height stands before width. */
typedef struct Rect_t {
  int32_t x;      /* first column */
  int32_t y;      /* first row */
  int32_t height; /* number of rows */
  int32_t width;  /* number of columns */
  int32_t aux0;   /* carried along, not interpreted */
  int32_t aux1;   /* carried along, not interpreted */
} Rect_t;

/* A box of a frame in pixels; all four bounds belong to the box. */
typedef struct CROP_BOX {
  int32_t crop_top;
  int32_t crop_bottom;
  int32_t crop_left;
  int32_t crop_right;
  int32_t box_mode; /* set to 2 in the boxes handed to the segmentation engine */
} CROP_BOX;

/*
 * The frame record: one picture and how to treat it. 352 bytes, fixed offsets. The library copies
 * it at the start of a call and never writes the caller's record; pixel buffers stay the caller's.
 */
typedef struct Vantro_t {
  uint8_t* yuv;      /* video: the newest frame, read until the next call returns; photo: changed in
                        place. Never null. */
  uint8_t* last_yuv; /* video: the buffer of the frame before, which receives the rendered result;
                        photo: must be null */
  uint8_t yuv_format; /* VANTRO_FORMAT_* */
  uint8_t reserved0[3];
  int32_t height; /* luma rows, at least 2 */
  int32_t width;  /* luma columns, at least 2 */
  int32_t stride; /* pixels from one row to the next */
  uint8_t reserved1[8];
  Rect_t rect;         /* video: rectangle to render; an invalid one means the whole frame */
  CROP_BOX crop_param; /* filled by the library in its own copy; the caller's value is ignored */
  uint8_t reserved2[4];
  uint8_t* mask; /* as crop_param: maskw * maskh bytes, 1 = subject, 0 = background */
  int32_t maskh; /* as crop_param */
  int32_t maskw; /* as crop_param */
  uint8_t reserved3[8];
  int32_t reset_flag;  /* 1: video: start a new sequence with this frame; photo: forget the subject
                          state */
  int32_t seg_param_a; /* handed to the segmentation engine unchanged */
  uint8_t reserved4[4];
  int32_t seg_param_b;   /* handed to the segmentation engine unchanged */
  uint8_t seg_output[4]; /* the engine may write here, and on into reserved5, in the library's
                            copy */
  uint8_t reserved5[220];
} Vantro_t;

/*
 * The caller's memory pool. Every block carries a name; a block is released through the same pool
 * under the name it was allocated with. The record must outlive the handles opened with it. Blocks
 * need not be zeroed; they must be aligned for any type, as malloc's are.
 */
typedef struct MemPool {
  /* Returns `size` bytes or null; the third argument is always 0. */
  void* (*alloc)(uint32_t size, const char* name, int32_t zero);
  /* Releases a block of `alloc`; the third argument is always 0. */
  void (*free)(void* block, const char* name, int32_t zero);
} MemPool;

/* Optional out-record of the Process functions; all three fields are set to -1. */
typedef struct VantroResult {
  int32_t result0;
  int32_t result1;
  int32_t result2;
} VantroResult;

/*
 * Opens a video handle: takes its buffers from `pool`, starts one worker thread, loads
 * "libPlimra.so" and creates a segmentation engine.
 *
 * handle_kc  receives the handle, or null on every failure.
 * xml_name   names a tuning file; it is logged but not read. Must not be null.
 * pool       must stay valid until Vantro_Deinit.
 *
 * Returns 0; -1 for a null handle_kc or xml_name; -2001 for a missing pool or pool function, a crop
 * box or the worker thread that could not be had; -2000 for anything after that. A failed Init
 * leaves nothing allocated and no thread behind.
 *
 * The worker thread chooses where it runs, whatever the calling thread is bound to: it takes the
 * CPUs 0 to 3 and the nice value 0. Where the system forbids either (a nice value of 0 to a process
 * that was started with a higher one, a CPU set without any of the four), one ERROR line tells so
 * and the worker goes on with what it inherited.
 */
VANTRO_API int32_t Vantro_Init(void** handle_kc, const char* xml_name, MemPool* pool);

/*
 * Feeds one frame. Segmentation of `yuv` starts on the worker thread; meanwhile the frame before it
 * is rendered into `last_yuv` with its own mask. The first frame of a sequence is segmented at once
 * and `last_yuv` comes back grey; the second call writes the rendered first frame into `last_yuv`.
 * The caller keeps `yuv` unchanged until the next call has returned. The calling thread is renamed
 * to "Vantro" on every call.
 *
 * A segmentation that fails is logged (INFO, "Plimra_process is error!") and is no failure of the
 * call. Its frame is rendered in the crop box of the last success, with what its mask buffer, one
 * of two used in turn, held: the mask of the frame two before it, or nobody while no segmentation
 * has written it yet.
 *
 * result  may be null; its fields are set to -1 from the second frame of a sequence on.
 *
 * Returns 0; -2001 when the handle or the record is refused (nothing changes); -1 when the copy of
 * the first frame could not be allocated (the next accepted call is again a first frame).
 */
VANTRO_API int32_t Vantro_Process(void* handle, Vantro_t* kc_para, VantroResult* result);

/*
 * Closes a video handle: waits for the segmentation still running, destroys the engine, unloads its
 * library, releases everything and sets *handle to null. Returns 0, also for a null handle.
 */
VANTRO_API int32_t Vantro_Deinit(void** handle);

/*
 * Opens a photo handle. As Vantro_Init, without the worker thread: pictures are segmented on the
 * caller's thread.
 */
VANTRO_API int32_t VantroPhoto_Init(void** handle_kc, const char* xml_name, MemPool* pool);

/*
 * Renders one picture in place in `yuv`, over its whole area whatever `rect` says. Pictures are
 * independent of each other. `result` may be null; its fields are set to -1 once the picture has
 * been segmented.
 *
 * Returns 0; -2001 when the handle or the record is refused (`last_yuv` must be null, the picture
 * less than 2^31 bytes); -1 when the engine failed. After a failure the picture is unchanged.
 */
VANTRO_API int32_t VantroPhoto_Process(void* handle, Vantro_t* kc_para, VantroResult* result);

/* Closes a photo handle and sets *handle to null. Returns 0, also for a null handle. */
VANTRO_API int32_t VantroPhoto_Deinit(void** handle);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* VANTRO_VANTRO_H_ */
