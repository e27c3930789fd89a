// Colour-retention rendering: the luma contrast curve, the grey effect, compositing of the
// subject's colour, and the resizers of masks and grey planes. For C++ only.
//
// Frames are described by a Vantro_t (vantro.h) that is passed by value and belong to the caller.
// What a record describes is `height` rows of `stride` pixels, and for the semi-planar formats
// height / 2 chroma rows of `stride` bytes behind them: nothing outside is read or written, and a
// rectangle that reaches outside is clipped to it. `cxt` is an AlgoCxt (algo_context.h).
//
// Every function runs on the calling thread and keeps nothing between calls; VantroObject alone
// writes to the context, so calls with one context must not overlap.
#ifndef VANTRO_RENDER_H_
#define VANTRO_RENDER_H_

#include <cstdint>

#include "vantro/export.h"
#include "vantro/vantro.h"

// The contrast curve's value for luma v: contrastTable[v] of the context, which must be valid.
VANTRO_API unsigned char EnhanceContrast(void* cxt, unsigned char v);

// Greys `rect` of `yuv` in place: luma through the contrast curve, chroma to 128.
//
// Formats 0 and 1: luma bytes of the rectangle, and the chroma bytes of the same columns in the
// chroma rows y/2 to (y + height - 1)/2. Format 4: groups of four bytes (two pixels) from byte 2*x
// of each row while the group begins before byte 2*(x + width); x and width are expected to be
// even. Other formats and an empty rectangle leave the frame untouched. Always returns 0.
VANTRO_API int Grayeffect(void* cxt, Vantro_t kc_para);

// As Grayeffect, on `last_yuv`, for the formats 0 and 4 only. Logs one INFO line under
// "QZA_MVANTRO" on every call. Always returns 0.
VANTRO_API int Grayeffect_firstframeIdx(void* cxt, Vantro_t kc_para);

// Renders a frame with a subject: stretches the maskw by maskh mask over the crop box, then greys
// `rect` of `yuv` except for the chroma of subject pixels. Luma goes through the contrast curve
// everywhere in `rect`.
//
// printlog   nonzero: INFO lines and timing lines; kept in the context.
// isDumpImg  nonzero: dumps the mask and the frame before and after as BMP; kept in the context.
// isPhoto    1 when the photo handle calls: logs the crop size under "QZA_VANTRO_PHOTO" too.
//
// The stretched mask lives in a block of cropWidth * cropHeight + 1 bytes of the context's pool
// ("cxt->maskup"), which is released before returning; a reduced mask in "crop_mask_d4x4" or
// "crop_mask_d2x2" when the box is more than 4 or 2 times the mask's size in both directions.
//
// Returns 0; -2006, with nothing changed, for a null context, an empty frame or mask, an odd frame
// size, or a crop box that is empty or reaches outside the frame; -1, with the frame unchanged,
// when the pool or the heap has no memory.
VANTRO_API int VantroObject(void* cxt, int printlog, int isDumpImg, int isPhoto, Vantro_t kc_para);

// The blend of VantroObject: greys `rect` of the frame but for the chroma of kept pixels. A pixel
// is kept when it lies in the crop box and its byte in `maskup` (rows of cropWidth bytes, the box's
// size) is nonzero. A semi-planar chroma pair stays only if all pixels of the rectangle that share
// it are kept; in the packed format a group of two pixels follows its first one. A null `maskup`
// keeps nothing. `width` is not read. Always returns 0.
VANTRO_API int Grayeffect_Alpha_YUV(void* cxt, unsigned char* yuv, int stride,
                                    unsigned char* maskup, int height, int width,
                                    CROP_BOX crop_param, Rect_t rect, int yuv_format);

// Copies the luma of the crop box into a plane of cropWidth columns and cropHeight rows,
// `dstStride` bytes apart. `srcStride` counts pixels; the crop box must lie inside the source.
// Nothing is done for formats other than 0, 1 and 4 or an empty box. Returns dst.
VANTRO_API unsigned char* getYcomponent(unsigned char* dst, const unsigned char* src, int srcStride,
                                        int dstStride, int unused0, int unused1,
                                        CROP_BOX crop_param, int yuv_format);

// Copies a rows by cols mask without gaps into rows of `dstStride` bytes; values 1 to 4 become 255.
// Returns dst.
VANTRO_API unsigned char* preProcessMask(unsigned char* dst, unsigned char* src, int rows, int cols,
                                         int dstStride);

// Resizers of one 8-bit plane. Strides count bytes; source and destination never overlap. The
// fixed-factor routines derive the destination's size from the source's (or the reverse); sizes
// below 1 and null pointers do nothing. None allocates. They return nothing, or a pointer (dst
// unless noted) for historical reasons.

// Bilinear resize with half-pixel centres and clamped edges in single precision, truncated: writes
// the rows rowBegin to rowEnd - 1 of the destination. Disjoint row ranges may be computed at the
// same time.
VANTRO_API void bilinearGrayU8BorderLines(unsigned char* dst, const unsigned char* src,
                                          int dstWidth, int dstHeight, int dstStride, int srcWidth,
                                          int srcHeight, int srcStride, int rowBegin, int rowEnd);

// Doubles both dimensions: the values of bilinearGrayU8BorderLines in integer arithmetic. For sizes
// that are not exactly doubled it is that function.
VANTRO_API void upScale2x2(unsigned char* dst, const unsigned char* src, int dstWidth,
                           int dstHeight, int dstStride, int srcWidth, int srcHeight, int srcStride,
                           int rowBegin, int rowEnd);

// Quadruples both dimensions with weights in eighths along each axis, rounded; the two outermost
// rows and columns repeat the nearest interior phase. A source of width or height 1 counts as one
// whose only column or row stands twice.
VANTRO_API void upScale4x4(unsigned char* dst, unsigned char* src, int srcWidth, int srcHeight,
                           int dstStride, int srcStride);

// One row of upScale4x4 from two source rows with the given vertical weights (eighths), stored into
// both destination rows.
VANTRO_API void upScale4x4BorderRows(unsigned char* upperDst, unsigned char* lowerDst,
                                     unsigned char* upperSrc, unsigned char* lowerSrc, int srcWidth,
                                     int upperWeight, int lowerWeight);

// Nearest-neighbour resize with half-pixel centres; ties go up and left. Returns src.
VANTRO_API unsigned char* up_scale_context(unsigned char* src, int srcWidth, int srcHeight,
                                           int srcStride, unsigned char* dst, int dstWidth,
                                           int dstHeight, int dstStride);

// Mean of each 2x2 block, truncated. The source is twice as large as the destination.
VANTRO_API unsigned char* averageGrayU8Down2x2(unsigned char* dst, const unsigned char* src,
                                               int dstWidth, int dstHeight, int dstStride,
                                               int unused0, int unused1, int srcStride);

// Mean of each 4x4 block, rounded half up. The source is four times as large as the destination.
VANTRO_API unsigned char* averageGrayU8Down4x4(unsigned char* dst, const unsigned char* src,
                                               int dstWidth, int dstHeight, int dstStride,
                                               int unused0, int unused1, int srcStride);

// Mean of each 2x2 block: each row's pair rounded up, then the two rounded up. The destination has
// srcWidth/2 by srcHeight/2 samples; an odd last column or row is left out.
VANTRO_API unsigned char* downscale_x4_avg(unsigned char* src, unsigned char* dst, int srcWidth,
                                           int srcHeight, int srcStride, int dstStride);

// Mean of each 4x4 block, rounded half up. The destination has srcWidth/4 by srcHeight/4 samples;
// up to three last columns and rows are left out.
VANTRO_API unsigned char* downscale_x16_avg(unsigned char* src, unsigned char* dst, int srcWidth,
                                            int srcHeight, int srcStride, int dstStride);

// Doubles both dimensions: clamped half-pixel bilinear, rounded half up.
VANTRO_API unsigned char* upscale_x4_blinear(unsigned char* src, unsigned char* dst, int srcWidth,
                                             int srcHeight, int srcStride, int dstStride);

// Quadruples both dimensions: upScale4x4 inside, and a corner-aligned interpolation of the
// outermost source samples in the two outermost rows and columns. A source of width or height below
// 2 does nothing.
VANTRO_API unsigned char* upscale_x16_blinear(unsigned char* src, unsigned char* dst, int srcWidth,
                                              int srcHeight, int srcStride, int dstStride);

// Erosion and dilation of a mask (nonzero is set) by a square of 2*radius + 1 samples, in place.
// The result is 0 or 1 where the square fits into the image; the band of `radius` samples along the
// edges keeps its values. Scratch memory comes from the hooks fmalloc and ffree under the name
// "Vantro"; without hooks or memory, and for a negative radius, the image is left unchanged.
VANTRO_API void erosion(unsigned char* image, int width, int height, int radius);
VANTRO_API void dilation(unsigned char* image, int width, int height, int radius);

#endif  // VANTRO_RENDER_H_
