#include "engine/model_shapes.h"

namespace vantro::engine {
namespace {

bool IsActivation(const Tensor& tensor) { return tensor.dims.size() == 4 && tensor.dims[0] == 1; }

// Number of outputs along one dimension; 0 if the kernel does not fit.
size_t ConvolvedExtent(size_t extent, size_t kernel, size_t stride, size_t dilation, bool same) {
  if (same) return (extent + stride - 1) / stride;
  const size_t reach = (kernel - 1) * dilation + 1;
  return extent < reach ? 0 : (extent - reach) / stride + 1;
}

bool ConvolutionFits(const ModelGraph& graph, const Node& node) {
  const Tensor& input = graph.tensors[node.input];
  const Tensor& output = graph.tensors[node.output];
  const Tensor& weights = graph.tensors[node.weights];
  const Tensor& bias = graph.tensors[node.bias];
  if (!weights.constant() || weights.dims.size() != 4) return false;
  if (!bias.constant() || bias.dims.size() != 1 || bias.dims[0] != output.channels()) return false;
  const size_t kernel_rows = weights.dims[1];
  const size_t kernel_columns = weights.dims[2];

  if (node.kind == NodeKind::kDepthwiseConvolution) {
    if (weights.dims[0] != 1 || weights.dims[3] != input.channels() ||
        output.channels() != input.channels()) {
      return false;
    }
  } else if (weights.dims[0] != output.channels() || weights.dims[3] != input.channels()) {
    return false;
  }
  if (node.kind == NodeKind::kTransposedConvolution) {
    return kernel_rows == node.stride.rows && kernel_columns == node.stride.columns &&
           output.rows() == input.rows() * kernel_rows &&
           output.columns() == input.columns() * kernel_columns;
  }
  return output.rows() == ConvolvedExtent(input.rows(), kernel_rows, node.stride.rows,
                                          node.dilation.rows, node.same_padding) &&
         output.columns() == ConvolvedExtent(input.columns(), kernel_columns, node.stride.columns,
                                             node.dilation.columns, node.same_padding);
}

bool BinaryFits(const ModelGraph& graph, const Node& node) {
  const Tensor& first = graph.tensors[node.input];
  const Tensor& second = graph.tensors[node.second];
  if (!IsActivation(second) || graph.tensors[node.output].dims != first.dims) return false;
  return second.dims == first.dims ||
         (second.rows() == 1 && second.columns() == 1 && second.channels() == first.channels());
}

}  // namespace

bool ShapesFit(const ModelGraph& graph, const Node& node) {
  const Tensor& input = graph.tensors[node.input];
  const Tensor& output = graph.tensors[node.output];
  if (!IsActivation(input) || !IsActivation(output)) return false;
  switch (node.kind) {
    case NodeKind::kConvolution:
    case NodeKind::kDepthwiseConvolution:
    case NodeKind::kTransposedConvolution:
      return ConvolutionFits(graph, node);
    case NodeKind::kGlobalAverage:
      return output.rows() == 1 && output.columns() == 1 && output.channels() == input.channels();
    case NodeKind::kAdd:
    case NodeKind::kMultiply:
      return BinaryFits(graph, node);
    case NodeKind::kRelu:
    case NodeKind::kHardSwish:
    case NodeKind::kSigmoid:
      return output.dims == input.dims;
    case NodeKind::kResizeBilinear:
      return output.channels() == input.channels();
  }
  return false;
}

double Multiplications(const ModelGraph& graph, const Node& node) {
  const Tensor& output = graph.tensors[node.output];
  const auto results = static_cast<double>(output.elements());
  switch (node.kind) {
    case NodeKind::kConvolution:
    case NodeKind::kDepthwiseConvolution: {
      // Each channel of the output has its share of the weights.
      const auto weights = static_cast<double>(graph.tensors[node.weights].elements());
      return results * weights / static_cast<double>(output.channels());
    }
    case NodeKind::kTransposedConvolution:
      return results * static_cast<double>(graph.tensors[node.input].channels());
    case NodeKind::kGlobalAverage:
      return static_cast<double>(graph.tensors[node.input].elements());
    default:
      return results;
  }
}

}  // namespace vantro::engine
