// Source positions and weights of the bilinear channel resizers, one entry a destination column and
// row.
#ifndef VANTRO_IMAGE_BILINEAR_TABLES_H_
#define VANTRO_IMAGE_BILINEAR_TABLES_H_

#include <cstdint>

#include "support/scratch.h"

namespace vantro {

// One axis: destination position i lies between source positions first[i] and second[i].
struct BilinearAxis {
  int32_t* first;
  int32_t* second;
  float* first_weight;
  float* second_weight;
};

class BilinearTables {
 public:
  // Takes both tables from the heap; false when either cannot be had.
  bool Allocate(int dst_width, int dst_height);
  // Fills both tables. The corners of the two grids coincide; all sizes are at least 1.
  void Fill(int src_width, int src_height);

  const BilinearAxis& columns() const { return columns_; }
  const BilinearAxis& rows() const { return rows_; }

 private:
  int dst_width_ = 0;
  int dst_height_ = 0;
  HeapBlock<int32_t> indices_;
  HeapBlock<float> weights_;
  BilinearAxis columns_{};
  BilinearAxis rows_{};
};

}  // namespace vantro

#endif  // VANTRO_IMAGE_BILINEAR_TABLES_H_
