// Mask analysis: connected regions of a mask, removal of small regions, and the check whether a
// mask holds a subject worth keeping in colour. For C++ only.
//
// A mask is one unsigned byte a pixel, `height` rows of `width` bytes without gaps, and belongs to
// the caller. 1 marks the subject and 0 the background once GetROI has normalised it. Every
// function works on its arguments alone and on the calling thread; different masks may be treated
// at the same time. Result codes are those of vantro.h.
#ifndef VANTRO_MASK_H_
#define VANTRO_MASK_H_

#include <cstdint>

#include "vantro/export.h"
#include "vantro/vantro.h"

// One entry of the labeller's union-find forest.
struct LabelEntry {
  int32_t label;   // the entry's own index
  int32_t parent;  // index of the parent entry; its own for a root
  int32_t region;  // region number of a root, set by connected(); 0 until then
};

// Two-pass connected-component labelling (4-connectivity) with a growable union-find table, after
// A. Rosenfeld and J. L. Pfaltz, "Sequential Operations in Digital Picture Processing", J. ACM 13
// (1966), with path halving as in R. E. Tarjan and J. van Leeuwen, "Worst-Case Analysis of Set
// Union Algorithms", J. ACM 31 (1984).
//
// A region is a maximal set of pixels of one mask value joined through left, right, upper and lower
// neighbours. Regions of every value are numbered, background included.
//
// The user builds the object: `table` from new[] with `capacity` zeroed entries (at least 1),
// `count` 0. The object may replace the table by a larger one from new[]; the user releases the
// table that is there in the end with delete[].
class ConnectedComponentsLabeling {
 public:
  LabelEntry* table;
  int32_t count;     // labels handed out so far; the next label
  int32_t capacity;  // entries of the table

  // Hands out the next label as a root of its own, doubling a full table. Returns the label, or a
  // negative value, with nothing changed, when the table cannot grow.
  VANTRO_API int newLabel();

  // Joins the sets of two labels that were handed out: the root of b's set becomes the root of the
  // joined set. Returns 1 when both were in one set already, else 0.
  VANTRO_API int merge(int a, int b);

  // First pass: writes a provisional label for each of the width * height pixels into `labels` and
  // records in the table which labels meet. Returns 0, or -2007 for null arguments and as soon as
  // the table cannot grow; rows behind the pixel it stopped at are then unwritten. An empty image
  // writes nothing and returns 0.
  VANTRO_API int labelImage(unsigned char* mask, int* labels, int width, int height);

  // Both passes: `labels` receives region numbers 0 to regions - 1, in rising order of the regions'
  // root labels. Returns the number of regions, 0 for an empty image, or -2007 when the first pass
  // fails.
  VANTRO_API int connected(unsigned char* mask, int* labels, int width, int height);
};

// Clears every region of the mask that is smaller than `percent` per cent of it (threshold
// width * height * percent / 100, truncated). Regions of 0 are measured too and stay what they are,
// so holes are not filled. Takes a block of 4 * width * height bytes from the pool of `cxt`
// (an AlgoCxt) under the name "result" for the length of the call.
//
// Returns 0; -2006 for a width or height below 1; -2007 for a null context or mask; 2000 (positive)
// when the pool has no block. The mask is unchanged unless 0 is returned.
VANTRO_API int connectionFilter(void* cxt, unsigned char* mask, int width, int height, int percent);

// Clears every region of the mask that holds no pixel with a nonzero `guide` byte. The guide has
// the mask's shape; `cxt` is not read. The label image comes from the hook `fmalloc` under the name
// "Vantro". Writes the timing lines "connNum_", "JudgeArea_" and "getMaskbyBase_" on every call.
//
// Returns 0; -2006 for a width or height below 1; -2007 for a null mask or guide; 2000 when the
// hooks are null, gave no memory, or no region could be labelled. The mask is unchanged unless 0 is
// returned.
VANTRO_API int connectionFilterGuide(void* cxt, unsigned char* mask, unsigned char* guide,
                                     int width, int height);

// The steps of the two filters. `labels` holds width * height region numbers 0 to regions - 1, as
// connected() writes them; `area` and `flags` have `regions` entries. Nothing is done for a width
// or height below 1.

// Adds the number of pixels of each region to area[region]. A label outside 0 to regions - 1 stops
// the count with -2007; otherwise 0.
VANTRO_API int calArea(int* labels, int width, int height, int regions, int* area);

// Clears the mask pixels whose region's area is below `threshold`; `regions` is not read. Returns
// 0.
VANTRO_API int getMask(unsigned char* mask, int* labels, int width, int height, int regions,
                       int* area, int threshold);

// ORs every guide byte into flags[region of its pixel]. A label outside 0 to regions - 1 stops with
// -2007 and an ERROR line under "VANTRO"; otherwise 0.
VANTRO_API int JudgeArea(int* labels, unsigned char* guide, int width, int height, int regions,
                         int* flags);

// Clears the mask pixels whose region's flag is 0. Returns 0.
VANTRO_API int getMaskbyBase(unsigned char* mask, int* labels, int width, int height, int* flags);

// The same for the rows rowBegin to rowEnd - 1; disjoint row ranges may be cleared by different
// threads at the same time.
VANTRO_API void getMaskBase_part(unsigned char* mask, int* labels, int width, int rowBegin,
                                 int rowEnd, int* flags);

// The checks below take a mask of 2^31 bytes or more for an empty one.

// Decides whether the mask of a frame holds a subject, and normalises it: every byte other than 1
// becomes 0. Reads width, height, mask, maskw, maskh and crop_param of the record; writes roi_state
// and subject_type of `cxt` (an AlgoCxt).
//
// *flag receives 4 when there is no usable mask or no byte equal to 1 (the mask is then unchanged),
// 3 for a subject that covers at least area_ratio of the frame, 0 for a smaller one or for a crop
// box of no width or height. Returns 0, or -2007 with *flag unwritten for a null context or a frame
// width or height of 0.
VANTRO_API int GetROI(void* cxt, Vantro_t kc_para, int* flag);

// Scores the subject type of a mask by the weights of `cxt` (an AlgoCxt): only type 1, a person,
// gathers a score, so *type is 1 unless a weight is negative. Note that the height stands before
// the width. Returns 0, or -2007 for a null context.
VANTRO_API int GetSubject(void* cxt, unsigned char* mask, int height, int width,
                          unsigned char* type);

// *found = 1 when any of the width * height bytes equals 1, else 0. Returns 0.
VANTRO_API int CheckMask(unsigned char* mask, int width, int height, int* found);

// Clears every byte that differs from `value`; *count receives the number of bytes kept. Returns 0.
VANTRO_API int PreserveObjMask(unsigned char* mask, int width, int height, unsigned char value,
                               int* count);

// Estimates the subject's area in a frame of width by height pixels from a mask of maskw by maskh
// bytes that covers the frame: the share of bytes equal to 1 times the frame's area, in single
// precision, truncated. 0 for an empty mask.
VANTRO_API int ComputeMaskArea(unsigned char* mask, int maskw, int maskh, int width, int height);

// True for the code 1 alone.
VANTRO_API bool IsSupportType(unsigned char code);

#endif  // VANTRO_MASK_H_
