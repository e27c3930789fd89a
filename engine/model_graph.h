// A network as plain data: what the model file holds, checked, with its weights as floats.
#ifndef VANTRO_ENGINE_MODEL_GRAPH_H_
#define VANTRO_ENGINE_MODEL_GRAPH_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace vantro::engine {

// Activations are [1, rows, columns, channels]; constants have one to four dimensions.
struct Tensor {
  std::vector<size_t> dims;
  std::vector<float> values;  // constants only

  bool constant() const { return !values.empty(); }
  size_t elements() const {
    size_t product = 1;
    for (const size_t dim : dims) product *= dim;
    return product;
  }
  // Of an activation.
  size_t rows() const { return dims[1]; }
  size_t columns() const { return dims[2]; }
  size_t channels() const { return dims[3]; }
};

enum class NodeKind {
  kConvolution,            // weights [out, kernel rows, kernel columns, in], bias [out]
  kDepthwiseConvolution,   // weights [1, kernel rows, kernel columns, channels], bias [channels]
  kTransposedConvolution,  // weights as a convolution's; the kernel is as large as the stride
  kGlobalAverage,          // mean over rows and columns
  kAdd,                    // both operands of one shape, or the second one broadcast over rows
  kMultiply,               // and columns
  kRelu,
  kHardSwish,
  kSigmoid,
  kResizeBilinear,  // half-pixel centres
};

struct Extent {
  uint32_t rows = 1;
  uint32_t columns = 1;
};

// One operation. Tensors are named by their index in ModelGraph::tensors.
struct Node {
  NodeKind kind = NodeKind::kRelu;
  uint32_t input = 0;
  uint32_t second = 0;   // kAdd, kMultiply
  uint32_t weights = 0;  // the convolutions
  uint32_t bias = 0;
  uint32_t output = 0;
  Extent stride;
  Extent dilation;
  bool same_padding = false;  // zeros around the input so that the output is input / stride large
  float output_min = -std::numeric_limits<float>::infinity();
  float output_max = std::numeric_limits<float>::infinity();
};

// The nodes stand in the order of their execution: every operand is a constant, the graph's input
// or the output of an earlier node.
struct ModelGraph {
  std::vector<Tensor> tensors;
  std::vector<Node> nodes;
  uint32_t input = 0;
  uint32_t output = 0;
};

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_MODEL_GRAPH_H_
