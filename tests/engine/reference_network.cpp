#include "tests/engine/reference_network.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace vantro::test {
namespace {

using engine::Node;
using engine::NodeKind;
using engine::Tensor;

struct Plane {
  long rows = 0;
  long columns = 0;
  long channels = 0;
  std::vector<double> values;

  explicit Plane(const Tensor& tensor)
      : rows(static_cast<long>(tensor.rows())),
        columns(static_cast<long>(tensor.columns())),
        channels(static_cast<long>(tensor.channels())),
        values(static_cast<size_t>(rows * columns * channels)) {}
  double& at(long y, long x, long c) {
    return values[static_cast<size_t>((y * columns + x) * channels + c)];
  }
  double at(long y, long x, long c) const { return const_cast<Plane*>(this)->at(y, x, c); }
};

// Zeros before the input such that the output has input / stride samples; the odd one comes after.
long PadBefore(bool same, long in, long out, long kernel, long stride, long dilation) {
  return same ? std::max((out - 1) * stride + (kernel - 1) * dilation + 1 - in, 0L) / 2 : 0;
}

void Convolve(const Node& node, const Tensor& weights, const Tensor& bias, const Plane& in,
              Plane* out) {
  const long kernel_rows = static_cast<long>(weights.dims[1]);
  const long kernel_columns = static_cast<long>(weights.dims[2]);
  const long depth = static_cast<long>(weights.dims[3]);
  const bool depthwise = node.kind == NodeKind::kDepthwiseConvolution;
  const long top = PadBefore(node.same_padding, in.rows, out->rows, kernel_rows, node.stride.rows,
                             node.dilation.rows);
  const long left = PadBefore(node.same_padding, in.columns, out->columns, kernel_columns,
                              node.stride.columns, node.dilation.columns);
  for (long y = 0; y < out->rows; ++y) {
    for (long x = 0; x < out->columns; ++x) {
      for (long o = 0; o < out->channels; ++o) {
        double sum = bias.values[static_cast<size_t>(o)];
        for (long ky = 0; ky < kernel_rows; ++ky) {
          const long iy = y * node.stride.rows + ky * node.dilation.rows - top;
          if (iy < 0 || iy >= in.rows) continue;
          for (long kx = 0; kx < kernel_columns; ++kx) {
            const long ix = x * node.stride.columns + kx * node.dilation.columns - left;
            if (ix < 0 || ix >= in.columns) continue;
            const long tap = ky * kernel_columns + kx;
            if (depthwise) {
              sum += weights.values[static_cast<size_t>(tap * depth + o)] * in.at(iy, ix, o);
              continue;
            }
            const long first = (o * kernel_rows * kernel_columns + tap) * depth;
            for (long c = 0; c < depth; ++c) {
              sum += weights.values[static_cast<size_t>(first + c)] * in.at(iy, ix, c);
            }
          }
        }
        out->at(y, x, o) = sum;
      }
    }
  }
}

// Every input sample paints one block of the output.
void ConvolveTransposed(const Node& node, const Tensor& weights, const Tensor& bias,
                        const Plane& in, Plane* out) {
  const long kernel_rows = node.stride.rows;
  const long kernel_columns = node.stride.columns;
  for (long y = 0; y < out->rows; ++y) {
    for (long x = 0; x < out->columns; ++x) {
      for (long o = 0; o < out->channels; ++o) {
        double sum = bias.values[static_cast<size_t>(o)];
        const long tap = (o * kernel_rows + y % kernel_rows) * kernel_columns + x % kernel_columns;
        for (long c = 0; c < in.channels; ++c) {
          sum += weights.values[static_cast<size_t>(tap * in.channels + c)] *
                 in.at(y / kernel_rows, x / kernel_columns, c);
        }
        out->at(y, x, o) = sum;
      }
    }
  }
}

void Average(const Plane& in, Plane* out) {
  for (long c = 0; c < in.channels; ++c) {
    double sum = 0;
    for (long y = 0; y < in.rows; ++y) {
      for (long x = 0; x < in.columns; ++x) sum += in.at(y, x, c);
    }
    out->at(0, 0, c) = sum / static_cast<double>(in.rows * in.columns);
  }
}

void ResizeBilinear(const Plane& in, Plane* out) {
  const auto sample = [](long index, long from, long to, long* first, double* fraction) {
    const double at = std::max(
        (static_cast<double>(index) + 0.5) * static_cast<double>(from) / static_cast<double>(to) -
            0.5,
        0.0);
    *first = static_cast<long>(at);
    *fraction = at - static_cast<double>(*first);
    return std::min(*first + 1, from - 1);
  };
  for (long y = 0; y < out->rows; ++y) {
    for (long x = 0; x < out->columns; ++x) {
      long y0, x0;
      double fy, fx;
      const long y1 = sample(y, in.rows, out->rows, &y0, &fy);
      const long x1 = sample(x, in.columns, out->columns, &x0, &fx);
      for (long c = 0; c < out->channels; ++c) {
        out->at(y, x, c) = (in.at(y0, x0, c) * (1 - fx) + in.at(y0, x1, c) * fx) * (1 - fy) +
                           (in.at(y1, x0, c) * (1 - fx) + in.at(y1, x1, c) * fx) * fy;
      }
    }
  }
}

double Activate(NodeKind kind, double value) {
  switch (kind) {
    case NodeKind::kRelu:
      return std::max(value, 0.0);
    case NodeKind::kHardSwish:
      return value * std::clamp(value + 3, 0.0, 6.0) / 6;
    case NodeKind::kSigmoid:
      return 1 / (1 + std::exp(-value));
    default:
      throw std::logic_error("not an activation");
  }
}

}  // namespace

std::vector<double> RunReference(const engine::ModelGraph& graph,
                                 const std::vector<double>& input) {
  std::vector<Plane> planes;
  for (const Tensor& tensor : graph.tensors) {
    planes.push_back(tensor.dims.size() == 4 && !tensor.constant()
                         ? Plane(tensor)
                         : Plane(Tensor{{1, 0, 0, 0}, {}}));
  }
  planes[graph.input].values = input;
  for (const Node& node : graph.nodes) {
    const Plane& in = planes[node.input];
    Plane* out = &planes[node.output];
    switch (node.kind) {
      case NodeKind::kConvolution:
      case NodeKind::kDepthwiseConvolution:
        Convolve(node, graph.tensors[node.weights], graph.tensors[node.bias], in, out);
        break;
      case NodeKind::kTransposedConvolution:
        ConvolveTransposed(node, graph.tensors[node.weights], graph.tensors[node.bias], in, out);
        break;
      case NodeKind::kGlobalAverage:
        Average(in, out);
        break;
      case NodeKind::kResizeBilinear:
        ResizeBilinear(in, out);
        break;
      case NodeKind::kAdd:
      case NodeKind::kMultiply: {
        const std::vector<double>& second = planes[node.second].values;
        for (size_t i = 0; i < in.values.size(); ++i) {
          const double other = second[i % second.size()];
          out->values[i] =
              node.kind == NodeKind::kAdd ? in.values[i] + other : in.values[i] * other;
        }
        break;
      }
      default:
        for (size_t i = 0; i < in.values.size(); ++i) {
          out->values[i] = Activate(node.kind, in.values[i]);
        }
    }
    for (double& value : out->values) {
      value = std::clamp<double>(value, node.output_min, node.output_max);
    }
  }
  return planes[graph.output].values;
}

}  // namespace vantro::test
