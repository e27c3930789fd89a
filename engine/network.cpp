#include "engine/network.h"

#include <dlfcn.h>

#include <utility>

namespace vantro::engine {
namespace {

// XNNPACK may read this much behind the end of an input.
constexpr size_t kReadAhead = XNN_EXTRA_BYTES / sizeof(float);
constexpr uint32_t kInputId = 0;
constexpr uint32_t kOutputId = 1;

struct SubgraphDeleter {
  void operator()(xnn_subgraph_t subgraph) const { xnn_delete_subgraph(subgraph); }
};

// XNNPACK and the library by which it knows the processor allocate tables once per load and never
// release them. A host that opens and closes engines unloads this library each time; with XNNPACK
// kept in memory the tables are built once in the life of the process.
bool StartXnnpack() {
  if (xnn_initialize(nullptr) != xnn_status_success) return false;
  Dl_info info;
  if (dladdr(reinterpret_cast<const void*>(&xnn_initialize), &info) != 0) {
    void* library = dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
    if (library != nullptr) dlclose(library);
  }
  return true;
}

// Defines the values and nodes of a graph.
class Builder {
 public:
  Builder(const ModelGraph& graph, xnn_subgraph_t subgraph)
      : graph_(graph), subgraph_(subgraph), ids_(graph.tensors.size(), XNN_INVALID_VALUE_ID) {}

  bool Build() {
    for (const Node& node : graph_.nodes) {
      if (!Define(node)) return false;
    }
    return true;
  }

 private:
  // The value of a tensor, defined when it is met first.
  uint32_t Value(uint32_t index) {
    if (ids_[index] != XNN_INVALID_VALUE_ID) return ids_[index];
    const Tensor& tensor = graph_.tensors[index];
    uint32_t external = XNN_INVALID_VALUE_ID;
    uint32_t flags = 0;
    if (index == graph_.input) {
      external = kInputId;
      flags = XNN_VALUE_FLAG_EXTERNAL_INPUT;
    } else if (index == graph_.output) {
      external = kOutputId;
      flags = XNN_VALUE_FLAG_EXTERNAL_OUTPUT;
    }
    const float* data = tensor.constant() ? tensor.values.data() : nullptr;
    if (xnn_define_tensor_value(subgraph_, xnn_datatype_fp32, tensor.dims.size(),
                                tensor.dims.data(), data, external, flags,
                                &ids_[index]) != xnn_status_success) {
      return XNN_INVALID_VALUE_ID;
    }
    return ids_[index];
  }

  bool Define(const Node& node) {
    const Tensor& output = graph_.tensors[node.output];
    const uint32_t in = Value(node.input);
    const uint32_t out = Value(node.output);
    xnn_status status = xnn_status_invalid_parameter;
    switch (node.kind) {
      case NodeKind::kConvolution:
      case NodeKind::kDepthwiseConvolution:
      case NodeKind::kTransposedConvolution:
        status = DefineConvolution(node);
        break;
      case NodeKind::kGlobalAverage:
        status = xnn_define_global_average_pooling_2d(subgraph_, node.output_min, node.output_max,
                                                      in, out, 0);
        break;
      case NodeKind::kAdd:
        status = xnn_define_add2(subgraph_, node.output_min, node.output_max, in,
                                 Value(node.second), out, 0);
        break;
      case NodeKind::kMultiply:
        status = xnn_define_multiply2(subgraph_, node.output_min, node.output_max, in,
                                      Value(node.second), out, 0);
        break;
      case NodeKind::kRelu:
        status =
            xnn_define_clamp(subgraph_, 0.0f, std::numeric_limits<float>::infinity(), in, out, 0);
        break;
      case NodeKind::kHardSwish:
        status = xnn_define_hardswish(subgraph_, in, out, 0);
        break;
      case NodeKind::kSigmoid:
        status = xnn_define_sigmoid(subgraph_, in, out, 0);
        break;
      case NodeKind::kResizeBilinear:
        status = xnn_define_static_resize_bilinear_2d(subgraph_, output.rows(), output.columns(),
                                                      in, out, 0);
        break;
    }
    return status == xnn_status_success;
  }

  xnn_status DefineConvolution(const Node& node) {
    const Tensor& weights = graph_.tensors[node.weights];
    const auto kernel_rows = static_cast<uint32_t>(weights.dims[1]);
    const auto kernel_columns = static_cast<uint32_t>(weights.dims[2]);
    const size_t channels_in = graph_.tensors[node.input].channels();
    const size_t channels_out = graph_.tensors[node.output].channels();
    const uint32_t in = Value(node.input);
    const uint32_t out = Value(node.output);
    const uint32_t filter = Value(node.weights);
    const uint32_t bias = Value(node.bias);
    const uint32_t flags = node.same_padding ? XNN_FLAG_TENSORFLOW_SAME_PADDING : 0;
    switch (node.kind) {
      case NodeKind::kDepthwiseConvolution:
        return xnn_define_depthwise_convolution_2d(
            subgraph_, 0, 0, 0, 0, kernel_rows, kernel_columns, node.stride.rows,
            node.stride.columns, node.dilation.rows, node.dilation.columns, 1, channels_in,
            node.output_min, node.output_max, in, filter, bias, out, flags);
      case NodeKind::kTransposedConvolution:
        return xnn_define_deconvolution_2d(subgraph_, 0, 0, 0, 0, 0, 0, kernel_rows, kernel_columns,
                                           node.stride.rows, node.stride.columns, 1, 1, 1,
                                           channels_in, channels_out, node.output_min,
                                           node.output_max, in, filter, bias, out, 0);
      default:
        return xnn_define_convolution_2d(
            subgraph_, 0, 0, 0, 0, kernel_rows, kernel_columns, node.stride.rows,
            node.stride.columns, node.dilation.rows, node.dilation.columns, 1, channels_in,
            channels_out, node.output_min, node.output_max, in, filter, bias, out, flags);
    }
  }

  const ModelGraph& graph_;
  xnn_subgraph_t subgraph_;
  std::vector<uint32_t> ids_;
};

}  // namespace

Network::Network(ModelGraph graph)
    : graph_(std::move(graph)),
      rows_(static_cast<int>(graph_.tensors[graph_.input].rows())),
      columns_(static_cast<int>(graph_.tensors[graph_.input].columns())) {
  const size_t pixels = static_cast<size_t>(rows_) * static_cast<size_t>(columns_);
  input_.resize(pixels * 3 + kReadAhead);
  output_.resize(pixels + kReadAhead);
}

std::unique_ptr<Network> Network::Create(ModelGraph graph, std::string* error) {
  std::unique_ptr<Network> network(new Network(std::move(graph)));
  xnn_subgraph_t subgraph = nullptr;
  if (!StartXnnpack() || xnn_create_subgraph(2, 0, &subgraph) != xnn_status_success) {
    *error = "XNNPACK does not start on this machine";
    return nullptr;
  }
  const std::unique_ptr<xnn_subgraph, SubgraphDeleter> owned_subgraph(subgraph);
  xnn_runtime_t runtime = nullptr;
  if (!Builder(network->graph_, subgraph).Build() ||
      xnn_create_runtime_v2(subgraph, nullptr, 0, &runtime) != xnn_status_success) {
    *error = "XNNPACK refuses the network";
    return nullptr;
  }
  network->runtime_.reset(runtime);
  const xnn_external_value ends[] = {{kInputId, network->input_.data()},
                                     {kOutputId, network->output_.data()}};
  if (xnn_setup_runtime(runtime, std::size(ends), ends) != xnn_status_success) {
    *error = "XNNPACK refuses the network";
    return nullptr;
  }
  return network;
}

bool Network::Run() { return xnn_invoke_runtime(runtime_.get()) == xnn_status_success; }

}  // namespace vantro::engine
