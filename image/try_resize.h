// The resizers of one byte channel for callers that must know whether they got their picture.
#ifndef VANTRO_IMAGE_TRY_RESIZE_H_
#define VANTRO_IMAGE_TRY_RESIZE_H_

namespace vantro {

// Each writes and logs what the exported operation of its name does and returns true when every
// element of the destination has been written. On false the destination holds what it held before:
// a null buffer, a size below 1, or no memory for the tables.

bool TryResizeUchar(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                    int dstH);
// The operation with C linkage.
bool TryResizeUcharC(const unsigned char* src, unsigned char* dst, int srcW, int srcH, int dstW,
                     int dstH);
bool TryResizeUcharChl(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                       int srcH, int dstW, int dstH, int step);
bool TryResizeUYVYtoYChl(const unsigned char* src, unsigned char* dst, int srcW, int srcStride,
                         int srcH, int dstW, int dstH, int step);

}  // namespace vantro

#endif  // VANTRO_IMAGE_TRY_RESIZE_H_
