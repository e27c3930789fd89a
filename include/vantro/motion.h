// Scene-change detection: the flash and motion stage of a video handle, and what it is made of: a
// dense optical flow between two small grey images, an integer Gaussian blur, and small dense
// matrices. For C++ only.
//
// Everything here runs in the calling thread and keeps no state between calls but what a caller
// hands in; calls on different data may run in parallel. Images belong to the caller. Scratch
// memory comes from the tracked allocator (vantro/tracked_alloc.h), except for the two reduced
// frames of GetFlashFlag, which come from the caller's pool. Functions returning int give 0 for
// success and -1 for failure where nothing else is said. Log lines carry the tag "VANTRO"
// (GetFlashFlag: "QZA_MVANTRO").
#ifndef VANTRO_MOTION_H_
#define VANTRO_MOTION_H_

#include <cstdint>

#include "vantro/export.h"
#include "vantro/vantro.h"

struct MThreadPool;

// ---- Flash and motion flags ---------------------------------------------------------------------

// What the video pipeline tells the stage about one frame.
struct OpticalFlow {
  uint8_t* yuv;         // current frame
  uint8_t* last_yuv;    // previous frame
  uint8_t yuv_format;   // VANTRO_FORMAT_NV21 or VANTRO_FORMAT_UYVY; others are refused
  int32_t frameIdx;     // frame number of the sequence, at least 1
  int32_t height;       // frame rows
  int32_t width;        // frame columns
  int32_t stride;       // pixels from one row to the next
  int32_t mask_width;   // mask columns
  int32_t mask_height;  // mask rows
  uint8_t* mask;        // 0/1 person mask, rows packed, 1 = subject
  int32_t* flash_flag;  // ring of ten: 1 where a frame flashed; slot = frame number mod 10
  int32_t* move_flag;   // ring of ten: motion results of CompareOpticalFlow, one slot ahead
  int32_t* area;        // ring of ten: estimated subject area in frame pixels
  CROP_BOX crop_param;  // the box of the frame that the mask covers
  CROP_BOX engine_box;  // first box handed to the segmentation engine; any values
};

// Compares two frames and updates the three rings for frame `frameIdx`:
//   - motion (CompareOpticalFlow between 100x100 copies of the luma, 1, 0 or -1) goes into
//     move_flag at the slot of the next frame;
//   - the subject's area, estimated from the share of subject pixels in the mask and the size of
//     the crop box, goes into `area`;
//   - flash_flag becomes 1 when that area jumped by more than one per cent of the frame and more
//     than a third of the larger area, and the frame before saw no motion.
// When four or more of the ten flash flags are set, the context's roi_state and *flag become 0;
// otherwise both are left alone.
//
// algo_cxt  an AlgoCxt; its pool gives two blocks of 10000 bytes, "y_down" and "lastY_down".
//
// A mask with a side below 1, or of 2^31 bytes or more, has no subject.
//
// Returns 0; -1, with the rings untouched, when the context, its pool, a ring, `flag`, a frame or a
// scratch buffer is missing, the format is refused or a frame cannot be reduced (no memory, a size
// below 1, a stride below the width).
VANTRO_API int GetFlashFlag(void* algo_cxt, OpticalFlow record, int* flag);

// ---- Dense optical flow -------------------------------------------------------------------------
//
// Two-frame motion estimation by polynomial expansion, coarse to fine: G. Farnebäck, "Two-Frame
// Motion Estimation Based on Polynomial Expansion", Scandinavian Conference on Image Analysis
// (SCIA), 2003. Around every pixel each image is approximated by a quadratic polynomial under
// Gaussian weights; the displacement is solved from the change of the coefficients, averaged over a
// box. All results are the same bits on every processor.

// A flow handle. Levels of the image pyramid count from 0, the full size; level k measures
// round(width * level_scale[k]) by round(height * level_scale[k]), halves up.
struct ME_Handler {
  int32_t max_level;     // highest level in use, at most 4
  int32_t width;         // columns of level 0
  int32_t height;        // rows of level 0
  float pyr_scale;       // size of one level relative to the next finer one
  int32_t next_set;      // which of the two coefficient sets the next pyramid fills: 0 or 1
  float level_scale[5];  // pyr_scale to the power of the level
  float* poly[2][5];     // [set][level]: five expansion coefficients a pixel
  uint8_t* blur_img;     // width * height: the blurred level image
  float* flow_a;         // 2 * width * height: interleaved (dx, dy), used in turns with flow_b
  float* flow_b;
  float* flow_x;    // width * height, row by row: dx of the last doOpticalFlow; inside flow_a or
  float* flow_y;    // flow_b, as its dy
  float* tmp_fImg;  // the resized level image, then kernel tables and row buffer of the expansion
  float* matM;      // 5 * width * height: terms of the flow equations
  float* src_f;     // width * height: the blurred level image as floats
  float* vsum;      // 5 * (width + 7): column sums of the box filter
};

// Creates a flow handle for `width` x `height` images with up to `levels` reduced levels, none of
// them narrower or lower than 32 pixels. Returns 0 and the handle in *out; -1 and null when
// levels > 4, pyr_scale > 1, a size is below 1, the sizes cannot be addressed, or memory is missing
// (nothing stays allocated).
VANTRO_API int opticalFlow_Init(ME_Handler** out, int levels, float pyr_scale, int width,
                                int height);

// Releases a handle and its buffers; null is allowed.
VANTRO_API void opticalFlow_unInit(ME_Handler* handle);

// Expands every level of `image` (width x height bytes, rows packed) into coefficient set
// next_set, then switches next_set. `n` is the reach of the expansion's neighbourhood in pixels,
// `sigma` that of its Gaussian weights; the system uses 7 and 1.5. Returns 0; -1 for a null handle
// or image, an `n` below 0 or too large for the handle's buffers, or no memory to resize the image
// (next_set is then as before). A level that there is no memory to blur is expanded unblurred.
VANTRO_API int build_OF_Pyramid(ME_Handler* handle, unsigned char* image, int n, float sigma);

// Expands the second image and computes the flow from the image expanded before it; the result is
// in flow_x and flow_y. Returns 0, or -1 when the pyramid of `image2` could not be built.
VANTRO_API int doOpticalFlow(ME_Handler* handle, unsigned char* image2);

// Polynomial expansion of a width x height image of floats, rows packed. Five coefficients a pixel
// go to `dst`: y, x, y*y, x*x, x*y (the constant term is not kept). Pixels beyond the border repeat
// the border.
//
// kernel_buffer  3 * (2n + 1) floats, written: the weights g, x*g and x*x*g for offsets -n to n
// row_buffer     3 * (width + 2n) floats, written
// n, sigma       as in build_OF_Pyramid; 7 and 1.5 use weights rounded to six decimal places
//
// Returns 0; -1 for a null buffer, a size below 1, n below 0, or missing memory for the inverse
// moment matrix.
VANTRO_API int opticalFKPolyExp(const float* src, float* dst, float* kernel_buffer,
                                float* row_buffer, int width, int height, int n, double sigma);

// Terms of the flow equations for the rows first_row to end_row - 1. R0 and R1 are the expansions
// of both images, `flow` the current field (interleaved dx, dy); M receives G11, G12, G22, h1, h2 a
// pixel. Terms within 5 pixels of the border are attenuated. Returns 0; -1 for a null buffer or a
// size below 1. Rows outside the image are left out.
VANTRO_API int opticalFKUpdateMatrices(const float* R0, const float* R1, const float* flow,
                                       int width, int height, float* M, int first_row, int end_row);

// Averages M over block_size x block_size pixels and solves the displacement of every pixel into
// `flow`; with `refresh`, M is recomputed from R0, R1 and the new field as the rows are finished.
//
// row_buffer  5 * width floats, written
//
// Returns 0; -1 for a null buffer (R0 and R1 may be null without `refresh`), a size or block
// size below 1, or a block size above 4095.
VANTRO_API int opticalFK_Blur(const float* R0, const float* R1, float* flow, float* row_buffer,
                              int width, int height, float* M, int block_size, bool refresh);

// Multiplies all 2 * width * height values of a two-channel image in place.
VANTRO_API void __pointMulit(float* image, float factor, int width, int height);

// Converts width * height bytes to floats.
VANTRO_API void __convertToFloat(const unsigned char* src, float* dst, int width, int height);

// Is there motion from `image1` to `image2` (width x height bytes, rows packed)? Yes, if the sum of
// |dx| + |dy| over the field passes `global_threshold`, or its mean over a region passes
// `local_threshold`. The region is given as fractions of the frame, (x0, y0) to (x1, y1); any
// values are allowed, and what lies outside the field is not measured. Returns 1, 0, or -1 on
// failure. Takes and releases about a megabyte of heap at 100 x 100; where the heap hands it back
// to the system each time (glibc in a process that never released a larger block;
// M_TRIM_THRESHOLD), new pages cost more time than the flow.
VANTRO_API int CompareOpticalFlow(unsigned char* image1, unsigned char* image2,
                                  float global_threshold, int width, int height,
                                  float local_threshold, float x0, float y0, float x1, float y1);

// ---- Gaussian blur ------------------------------------------------------------------------------

// Separable Gaussian blur of a width x height plane of bytes with an odd kernel length of 3 to 13,
// in integer arithmetic: weights of 1/256, each pass rounded to the nearest integer, halves up.
// Samples beyond the border are mirrored about the border sample.
//
// sigma         in pixels; 0 takes a fixed kernel (lengths 3, 5, 7) or one that suits the length
// pool          may be null with a thread_count of 1; the blur runs in the calling thread
// unused        not read
//
// src and dst may be the same plane. Returns 0, or -1 after a log line; a refused kernel length
// copies the source to the destination, unblurred.
VANTRO_API int gaussian_blur(const unsigned char* src, unsigned char* dst, int width, int height,
                             int src_stride, int dst_stride, int k_length, float sigma,
                             MThreadPool* pool, int thread_count, unsigned char* unused);

// The same on packed rows.
VANTRO_API int gaussian_blur(const unsigned char* src, unsigned char* dst, int width, int height,
                             int k_length, float sigma, MThreadPool* pool, int thread_count,
                             unsigned char* unused);

// One member a kernel length: blurs with the given symmetric weights, of which the first half and
// the centre are read, and divides by their sum S = q[c] + 2 * (q[0] + ... + q[c-1]). Needs a
// scratch image of width * height bytes. With S = 0 every sample becomes 0. Returns 0, or -1 for a
// null pointer or a scratch image that cannot be had.
VANTRO_API int GaussianBlur3x3_u8(const unsigned char* src, unsigned char* dst, int width,
                                  int height, int src_stride, int dst_stride,
                                  const unsigned short* weights);
VANTRO_API int GaussianBlur5x5_u8(const unsigned char* src, unsigned char* dst, int width,
                                  int height, int src_stride, int dst_stride,
                                  const unsigned short* weights);
VANTRO_API int GaussianBlur7x7_u8(const unsigned char* src, unsigned char* dst, int width,
                                  int height, int src_stride, int dst_stride,
                                  const unsigned short* weights);
VANTRO_API int GaussianBlur9x9_u8(const unsigned char* src, unsigned char* dst, int width,
                                  int height, int src_stride, int dst_stride,
                                  const unsigned short* weights);
VANTRO_API int GaussianBlur11x11_u8(const unsigned char* src, unsigned char* dst, int width,
                                    int height, int src_stride, int dst_stride,
                                    const unsigned short* weights);
VANTRO_API int GaussianBlur13x13_u8(const unsigned char* src, unsigned char* dst, int width,
                                    int height, int src_stride, int dst_stride,
                                    const unsigned short* weights);

// ---- Small dense matrices -----------------------------------------------------------------------
//
// Row-major: element (r, c) of a matrix with C columns is at r * C + c.

// Adds the inverse of the symmetric positive-definite n x n matrix A to `out`, through the Cholesky
// factor of A (its upper triangle alone is read), in single precision. A matrix that is not
// positive definite gives NaN. Returns 0, or -1 when scratch memory is missing.
VANTRO_API int getInvMat(const float* A, float* out, int n);

// LU decomposition of a 6x6 matrix with partial pivoting: row i of L * U is row P[i] of A. A is
// overwritten; L receives its diagonal of ones and what is below, U its diagonal and what is above,
// the other elements of both are left alone. A singular matrix writes "CAN NOT DO INVERT MAT" to
// standard output and leaves L and U incomplete.
VANTRO_API void LUP_Descomposition(double* A, double* L, double* U, int* P);

// Solves A * x = b with the factors of LUP_Descomposition. Returns six doubles, the caller's to
// release with delete[]; null when memory is missing.
VANTRO_API double* LUP_Solve(const double* L, const double* U, const int* P, const double* b);

// Index maps of the transposition of an m x n matrix: where element i goes, (i mod n) * m + i / n,
// and where element i comes from, (i mod m) * n + i / m. m and n must not be 0.
VANTRO_API int getNext(int i, int m, int n);
VANTRO_API int getPre(int i, int m, int n);

// Rotates the cycle of the transposition of A (m x n) that starts at index i.
VANTRO_API void movedata(double* A, int i, int m, int n);

// Transposes A (m rows, n columns) in place, cycle by cycle.
VANTRO_API void transpose(double* A, int m, int n);

#endif  // VANTRO_MOTION_H_
