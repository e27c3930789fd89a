// Image primitives: pixel-format conversion, resizers, rotation, guided filters. For C++ only.
//
// Buffers belong to the caller. Sizes are in pixels. Unless an operation says otherwise a stride
// counts bytes of a plane of bytes and elements of a plane of floats, and destination rows are
// packed. A call with a null buffer, a size below 1 or a stride below its row writes nothing.
// Apart from the guided filters nothing reports a result; the log tells what was refused where the
// operation says so. Everything is reentrant; calls may run at once on disjoint destinations.
//
// Layouts, for w * h pixels and a stride in pixels:
//   NV21    h luma rows of `stride` bytes, then h/2 rows of `stride` bytes with w/2 pairs V,U
//   NV12    as NV21, pairs U,V
//   UYVY    h rows of 2*stride bytes, two pixels U,Y0,V,Y1
//   BGR     three bytes a pixel, blue first; rows of 3*w bytes
// Sizes are halved towards zero; the last column and row of an odd frame share the last pair that
// the chroma plane holds. Without any chroma sample a pixel is grey (U = V = 128).
#ifndef VANTRO_IMAGE_H_
#define VANTRO_IMAGE_H_

#include <cstdint>

#include "vantro/export.h"

struct RGBCOLOR {
  int32_t red;  // all three 0..255
  int32_t green;
  int32_t blue;
};

struct HSVCOLOR {
  int32_t hue;         // degrees, 0..360
  int32_t saturation;  // 0..255
  int32_t value;       // 0..255
};

struct YUVCOLOR {
  int32_t y;  // all three 0..255, u and v centred on 128
  int32_t u;
  int32_t v;
};

// ---- Colour conversion -------------------------------------------------------------------------
//
// With U' = U - 128, V' = V - 128 and arithmetic shifts:
//   full range    R = Y + V' + (103V' >> 8)           Y = (77R + 150G + 29B) >> 8
//                 G = Y + (-44U' >> 7) + (-91V' >> 7) U = ((-43R - 85G + 128B) >> 8) + 128
//                 B = Y + U' + (99U' >> 7)            V = ((128R - 107G - 21B) >> 8) + 128
//   studio range  R = (C + 409V' + 128) >> 8, C = 298(Y - 16)
//                 G = (C - 208V' - 100U' + 128) >> 8
//                 B = (C + 516U' + 128) >> 8
// each result limited to 0..255.

// One pixel, full range.
VANTRO_API RGBCOLOR yuvTorgb(unsigned char y, unsigned char u, unsigned char v);
VANTRO_API YUVCOLOR rgbToyuv(unsigned char r, unsigned char g, unsigned char b);

// Planar 4:2:0, studio range, to bytes in the order R, G, B. Source: `height` luma rows of
// `srcStride` bytes, then U and V with rows of srcStride/2 bytes, V at srcStride*height*5/4.
// Destination rows are 3*dstStride bytes apart. An odd last row or column is left unwritten.
VANTRO_API void convertI420ToRGBU8(unsigned char* dst, const unsigned char* src, int width,
                                   int height, int dstStride, int srcStride);

// Planar 4:2:2 to BGR, full range: a frame of 2*width*height bytes with the luma first, U rows of
// width/2 bytes at width*height and V rows of width/2 bytes at width*height + width*height/2. The
// last column of an odd width takes the last chroma pair of its row. Returns 0.
VANTRO_API int YV16ToRGB(unsigned char* src, int width, int height, unsigned char* dst);

// Rows rowBegin to rowEnd-1 of a UYVY frame, `stride` in pixels, to the same rows of a BGR image of
// `width` columns. An odd last column has U and Y of its own and takes V of the group before.
// Returns 0.
VANTRO_API int UYVYToRGB(unsigned char* src, int stride, int width, int rowBegin, int rowEnd,
                         unsigned char* dst);

// BGR to UYVY, `dstStride` in pixels; a pair takes the chroma of its left pixel. An odd last column
// writes the U and Y of its group alone. Returns 0.
VANTRO_API int RGBToUYVY(unsigned char* src, int width, int height, unsigned char* dst,
                         int dstStride);

// NV21 to BGR and back. RGBToNV21 takes the chroma of the lower left pixel of each block of 2x2.
// Both return 0.
VANTRO_API int NV21ToRGB(unsigned char* src, int stride, int width, int height, unsigned char* dst);
VANTRO_API int RGBToNV21(unsigned char* src, int width, int height, unsigned char* dst,
                         int dstStride);

// Hexcone model (A. R. Smith, "Color Gamut Transform Pairs", SIGGRAPH 1978) in integers; quotients
// truncate. A grey has hue 0; rounding can give hue 360. HsvToRgb limits channels to at most 255.
VANTRO_API HSVCOLOR RgbToHsv(RGBCOLOR color);
VANTRO_API RGBCOLOR HsvToRgb(HSVCOLOR color);

// ---- Bilinear resizers of byte channels --------------------------------------------------------
//
// The top left corners of both grids coincide: destination column x lies at fx = x * (srcW / dstW)
// in single precision, between columns trunc(fx) and trunc(fx + 1), both limited to the row; rows
// likewise. With the weights 1 - a and a of each axis the four samples give, in single precision,
//   v = wy0*(wx0*P00) + wy0*(wx1*P01) + wy1*(wx0*P10) + (wy1*wx1)*P11.
// A null buffer, or a table of indices and weights that cannot be allocated (2*(dstW+dstH) entries
// of 4 bytes, two of them), leaves the destination untouched and logs one ERROR line.

// One packed channel, stored as trunc(v + 0.5) with the terms of v summed as
// P11 + ((P00 + P01) + P10), each weight product formed first. Log tag "QZA_MVANTRO".
VANTRO_API void ResizeUchar(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                            int dstW, int dstH);

// The function with C linkage of the same name, in a namespace because C++ code cannot see both in
// one: one packed channel, trunc(v + 0.5). Log tag "VANTRO".
namespace vantro_c {
extern "C" VANTRO_API void ResizeUchar(const unsigned char* src, unsigned char* dst, int srcW,
                                       int srcH, int dstW, int dstH);
}

// One channel of an interleaved image: elements are `step` bytes apart in source and destination,
// source rows step*srcStride bytes, destination rows step*dstW bytes. Stores trunc(v); the other
// channels keep their bytes. Logs one INFO line a call.
VANTRO_API void ResizeUcharChl(const unsigned char* src, unsigned char* dst, int srcW,
                               int srcStride, int srcH, int dstW, int dstH, int step);

// The same source, into a packed channel; stores trunc(v + 0.5).
VANTRO_API void ResizeUYVYtoYChl(const unsigned char* src, unsigned char* dst, int srcW,
                                 int srcStride, int srcH, int dstW, int dstH, int step);

// Luma of a UYVY frame, and of an NV12 or NV21 frame, by ResizeUYVYtoYChl; srcStride in pixels.
VANTRO_API void ResizeUYVYtoY(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                              int srcH, int dstW, int dstH);
VANTRO_API void ResizeNV12toY(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                              int srcH, int dstW, int dstH);

// Whole frames, destination stride dstW pixels. An exact halving takes the first sample of every
// 2x2 block without arithmetic; anything else runs ResizeUcharChl on luma and on both chroma
// channels (half the size on each axis that is subsampled; an axis of no samples is skipped).
VANTRO_API void ResizeUcharNV21(const unsigned char* src, unsigned char* dst, int srcW,
                                int srcStride, int srcH, int dstW, int dstH);
VANTRO_API void ResizeUcharNV12(const unsigned char* src, unsigned char* dst, int srcW,
                                int srcStride, int srcH, int dstW, int dstH);
VANTRO_API void ResizeUcharUYVY(const unsigned char* src, unsigned char* dst, int srcW,
                                int srcStride, int srcH, int dstW, int dstH);

// Halves an NV12 or NV21 frame: destination sample (x, y) is source sample (2x, 2y) of its plane.
// srcW is not used: the source holds 2*dstW columns of srcH rows.
VANTRO_API void ResizeUcharHalfSemiPlanar(const unsigned char* src, unsigned char* dst, int srcW,
                                          int srcH, int dstW, int dstH, int srcStride,
                                          int dstStride);

extern "C" {

// One packed channel. An exact doubling writes A, (A+B)>>1, (A+C)>>1 and (A+B+C+D)>>2 for each
// source sample A with right, lower and diagonal neighbours B, C and D; the last column and row
// repeat the block of the pair that ends there (of the sample itself if it is the only one).
// Anything else is the C-linkage ResizeUchar.
VANTRO_API void ResizeUchar_upScale2x2(const unsigned char* src, unsigned char* dst, int srcW,
                                       int srcH, int dstW, int dstH);

// Bilinear resize of packed floats, positions and weights in double precision, the sum rounded to
// single precision after each term. Neighbours are limited to the image. The bits of a NaN result
// are left open. Returns src.
VANTRO_API const float* Resize_secure(const float* src, float* dst, int srcW, int srcH, int dstW,
                                      int dstH);

// ---- Geometry resizers -------------------------------------------------------------------------

// Enlarges a plane 4 times by bilinear interpolation in integers; results are truncated, the last
// column and row repeated. dstH may be any height; rows beyond 4*srcH repeat the last one. A dstW
// other than 4*srcW is logged (ERROR) and refused.
VANTRO_API void upscale4X(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                          int srcStride, int dstW, int dstH);

// Bilinear resize of a plane in double precision, truncated once. The factor srcW/dstW serves both
// axes; positions and neighbours are limited to the plane. dstW == 4*srcW is upscale4X. A null
// plane and a size or stride below 1 are logged (ERROR); a stride from 1 to srcW-1 is refused
// without a line.
VANTRO_API void resize(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                       int srcStride, int dstW, int dstH);

// As resize for an NV21 frame, but each of the four weighted terms is truncated by itself. Chroma
// row positions are rounded to single precision. Returns src.
VANTRO_API const unsigned char* resizeNV21(const unsigned char* src, unsigned char* dst, int srcW,
                                           int srcH, int srcStride, int dstW, int dstH);

// Every f-th sample of both axes, f = srcW / dstW, indices limited to the plane: an NV21 frame, and
// a single plane.
VANTRO_API void resizeNV21Integer(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                                  int srcStride, int dstW, int dstH);
VANTRO_API void resizeYInteger(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                               int srcStride, int dstW, int dstH);

// Truncated means of 4x4 blocks: a plane, and a semi-planar frame (means of each chroma byte over
// 4x4 pairs; luma and chroma rows are written dstW bytes apart, chroma starts at dstStride*dstH).
// Blocks beyond srcW are taken from the room behind the rows, which all rows must then have.
// Nothing is written where the stride has no room for 4*dstW columns or the source has not 4*dstH
// rows.
VANTRO_API void resizeY16X(const unsigned char* src, int srcW, int srcH, int srcStride,
                           unsigned char* dst, int dstW, int dstH, int dstStride);
VANTRO_API void resizeNV1216X(const unsigned char* src, int srcW, int srcH, int srcStride,
                              unsigned char* dst, int dstW, int dstH, int dstStride);

// Rotations by minus 90 degrees: destination pixel (x, dstH-1-k) is sampled at source row x and
// column k, both scaled by srcW/dstH and limited to the plane. Bilinear in double precision with
// every term truncated by itself, or (Integer) every f-th sample, f = srcW / dstH. _Multi writes a
// square of side dstH with rows dstPitch bytes apart. The first two return src.
VANTRO_API const unsigned char* resizeYrotateMinus90(const unsigned char* src, unsigned char* dst,
                                                     int srcW, int srcH, int srcStride, int dstW,
                                                     int dstH);
VANTRO_API const unsigned char* resizeYrotateMinus90_Multi(const unsigned char* src,
                                                           unsigned char* dst, int srcW, int srcH,
                                                           int srcStride, int dstPitch, int dstH);
VANTRO_API void resizeYrotateMinus90Integer(const unsigned char* src, unsigned char* dst, int srcW,
                                            int srcH, int srcStride, int dstW, int dstH);

// The same for an NV21 frame, into three planes of dstW*dstH bytes: luma, V, U (4:4:4). The first
// takes every f-th sample as _X does if srcW is a multiple of dstH, and is bilinear otherwise. _X
// reads the pair at byte min(k*f, srcW-1) + (f/2)*srcStride*x of the chroma plane, limited to the
// plane's last pair; Integer steps through rows and pairs by f/2. The first returns src.
VANTRO_API const unsigned char* resizeNV21RotateMinus90(const unsigned char* src,
                                                        unsigned char* dst, int srcW, int srcH,
                                                        int srcStride, int dstW, int dstH);
VANTRO_API void resizeNV21RotateMinus90_X(const unsigned char* src, unsigned char* dst, int srcW,
                                          int srcH, int srcStride, int dstW, int dstH);
VANTRO_API void resizeNV21RotateMinus90Integer(const unsigned char* src, unsigned char* dst,
                                               int srcW, int srcH, int srcStride, int dstW,
                                               int dstH);

// Packed floats. Positions of the first two are accumulated in single precision and limited to the
// plane; all return src.
// Nearest resampling of a disparity map: values are scaled by dstW/srcW, those below invalid + 0.1
// become `invalid`.
VANTRO_API const float* resizeSpareDisparityNearest(const float* src, float* dst, int srcW,
                                                    int srcH, int dstW, int dstH, float invalid);
// Bilinear, with rules of its own for exact halving (means of 2x2) and doubling (weights 1/4, 3/4).
VANTRO_API const float* resizeFloat_Bilinear(const float* src, float* dst, int srcW, int srcH,
                                             int dstW, int dstH);
// Pairs of 32-bit values, copied bit for bit from source column trunc(x * srcW/dstW), rows
// likewise.
VANTRO_API const float* resizeFloat_Nearest_2Ch(const float* src, float* dst, int srcW, int srcH,
                                                int dstW, int dstH);

// Interleaved three-byte colour, bilinear in single precision, truncated; neighbours are limited to
// the image. The second handles the one channel of three that src and dst point at. A dstW below 1
// is logged (WARN).
VANTRO_API void resizeUcharRGB(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                               int dstW, int dstH);
VANTRO_API void resizeUcharRGBChl(const unsigned char* src, unsigned char* dst, int srcW, int srcH,
                                  int dstW, int dstH);

}  // extern "C"

// ---- Guided filters ----------------------------------------------------------------------------
//
// K. He, J. Sun, X. Tang, "Guided Image Filtering", PAMI 2013; the fixed-point form works at half
// resolution as in K. He, J. Sun, "Fast Guided Filter", arXiv:1505.00996. Planes are width * height
// with `stride` elements a row; boxes repeat the nearest edge element.

// Refines the 8-bit `input` along the edges of the 8-bit `guide` (the two and `output` share their
// geometry). `eps` is for intensities of 0..1. `context` is null or a work area of
// 4 * halfW * halfH bytes for the planes of a and b, with halfW = (width+1)/2, halfH =
// (height+1)/2. Returns 0, also when the filter itself refused its arguments (the output is then
// 128 everywhere); -1000 when its own buffers cannot be had.
VANTRO_API int guide_filter_acc(const unsigned char* guide, const unsigned char* input, int width,
                                int height, unsigned char radius, float eps, unsigned char* output,
                                int stride, unsigned char* context);

// The filter behind it, on signed input and output, with eps = epsQ / 2^shift. Coefficients have 10
// fraction bits and are limited to -2048..2047. Returns 0; 2000 for bad arguments (the radius may
// be half the width or height at most, and 10 at most) or no memory for the reduced planes; 2008
// for a later failure, and where the width or the height is odd and one of them is above 65536: odd
// sizes are reduced by a table of 16-bit indices.
VANTRO_API int guided_filter_fast_detail_optm2(const unsigned char* guide, const signed char* input,
                                               int width, int height, unsigned char radius,
                                               int epsQ, signed char shift, signed char* output,
                                               int stride, unsigned char* context);

// Box mean of (2*radius+1)^2 floats; dst may be src. `context` is not used. Returns 0, or 1 when
// its buffer cannot be had or an argument is refused.
VANTRO_API int boxfilter_iter_f(void* context, const float* src, float* dst, int width, int height,
                                int stride, int radius);

// Guided filter in single precision for intensities of 0..255. `output` keeps values of 128 and
// above, truncated to whole numbers of at most 255, and is 0 elsewhere. `context` is not used. A
// failed allocation is logged (ERROR) and leaves `output` unwritten.
VANTRO_API void guidedfilter_f(void* context, float* output, float* guide, const float* input,
                               int width, int height, int stride, int radius, float eps);

#endif  // VANTRO_IMAGE_H_
