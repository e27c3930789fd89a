/*
 * The segmentation engine: what a library must export so that Vantro can find the person with it.
 *
 * Vantro loads an engine at run time by its file name, "libPlimra.so", and looks up the three entry
 * points below by name; it is never linked against. Any library with that soname and these
 * functions can serve; the one of this project lives in engine/. Usable from C and from C++.
 *
 * Every entry point returns 0 for success and any other value for a failure.
 */
#ifndef VANTRO_SEGMENTATION_ENGINE_H_
#define VANTRO_SEGMENTATION_ENGINE_H_

#include <stdint.h>

#include "vantro/export.h"
#include "vantro/vantro.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Values of seg_mode. */
enum {
  VANTRO_SEG_VIDEO =
      0, /* Create: an engine for a video; Process: a frame, or a photo's first pass */
  VANTRO_SEG_PHOTO = 2 /* Create: an engine for photos; Process: a photo's second, refining pass */
};

/* The model_dir that Vantro hands to Plimra_Create, the place of such files on a telephone. */
#define VANTRO_SEG_MODEL_DIR "/vendor/etc/camera/cnnmodel/imagesegmentation/"

/* The record that an engine is created with: 56 bytes, kept by the caller until Destroy returned.
 */
typedef struct SegmentationInterface {
  MemPool* pool;        /* the caller's memory pool, which the engine may use */
  uint8_t reserved[48]; /* not written by the caller; the engine may use it as it likes */
} SegmentationInterface;

/*
 * Creates an engine.
 *
 * engine_out     receives the engine; written only on success.
 * model_dir      the folder that holds the model files; an engine may look in others after it.
 * algoInterface  a SegmentationInterface.
 * width_out,     receive the size of the masks that this engine writes; it does not depend on the
 * height_out     frame size and never changes. Written only on success.
 * seg_mode       VANTRO_SEG_VIDEO or VANTRO_SEG_PHOTO.
 *
 * An engine may be created on one thread and called on another; it is never called by two threads
 * at once. Several engines may exist and run at the same time.
 */
VANTRO_API int32_t Plimra_Create(void** engine_out, const char* model_dir, void* algoInterface,
                                 int32_t* width_out, int32_t* height_out, int32_t seg_mode);

/*
 * Segments one frame.
 *
 * frame        the picture, read only, laid out as yuv_format (VANTRO_FORMAT_*), width, height and
 *              stride say. Note that width stands before height. An engine may refuse frames that
 *              are too large for it; the included one takes from 2 to 65536 pixels each way.
 * mask_out     receives width_out * height_out bytes without gaps, 1 = person, 0 = background,
 *              stretched over the crop box: sample (row, column) covers the part
 *              [column, column+1) / width_out by [row, row+1) / height_out of it.
 * box          receives the person's own box, in frame pixels, bounds inclusive.
 * box_vantro   receives the crop box: the person with a margin, inside the frame, top and left
 *              even, width and height multiples of 4 where the frame allows it. Without a person
 *              both boxes are the whole frame and the mask is empty. box_mode of both is kept.
 * seg_param_a, from the frame record, for the engine's own purposes.
 * seg_param_b
 * seg_output   220 bytes into which an engine may write whatever its caller knows to read.
 * seg_mode     VANTRO_SEG_VIDEO for every frame of a video. A photo is segmented by two calls with
 *              the same arguments, VANTRO_SEG_VIDEO first and VANTRO_SEG_PHOTO after it; the second
 *              one may refine what the first one found.
 *
 * On a failure nothing is written.
 */
VANTRO_API int32_t Plimra_Process(void* engine, uint8_t* frame, uint8_t yuv_format, int32_t width,
                                  int32_t height, int32_t stride, int32_t seg_param_a,
                                  uint8_t* mask_out, CROP_BOX* box, CROP_BOX* box_vantro,
                                  int32_t seg_param_b, void* seg_output, int32_t seg_mode);

/* Releases an engine and all that it holds. A null engine is a failure. */
VANTRO_API int32_t Plimra_Destroy(void* engine);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* VANTRO_SEGMENTATION_ENGINE_H_ */
