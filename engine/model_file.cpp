#include "engine/model_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/half_float.h"
#include "engine/model_options.h"
#include "engine/model_shapes.h"
#include "tflite_model_generated.h"

namespace vantro::engine {
namespace {

constexpr size_t kMaxTensorElements = size_t{1} << 24;
// Of all tensors together, so that no file makes the engine take more memory or time than a camera
// can spare. The network that the engine is made for has 0.1 and 12 million elements and takes 59
// million multiplications.
constexpr size_t kMaxConstantElements = size_t{1} << 24;
constexpr size_t kMaxActivationElements = size_t{1} << 26;
constexpr double kMaxMultiplications = 4e9;

// Operator codes of the file format.
enum Code {
  kCodeAdd = 0,
  kCodeAveragePool = 1,
  kCodeConvolution = 3,
  kCodeDepthwiseConvolution = 4,
  kCodeDequantize = 6,
  kCodeLogistic = 14,
  kCodeMultiply = 18,
  kCodeRelu = 19,
  kCodeResizeBilinear = 23,
  kCodeCustom = 32,
  kCodeHardSwish = 117,
};

class Reader {
 public:
  explicit Reader(const tflite::Model& model) : model_(model) {}

  const char* Read() {
    if (model_.version() != 3) return "unknown version of the file format";
    if (model_.subgraphs() == nullptr || model_.subgraphs()->size() != 1 ||
        model_.operator_codes() == nullptr || model_.buffers() == nullptr) {
      return "it does not hold exactly one graph";
    }
    const tflite::SubGraph& source = *model_.subgraphs()->Get(0);
    if (source.tensors() == nullptr || source.operators() == nullptr) return "the graph is empty";
    tensors_ = source.tensors();
    graph_.tensors.resize(tensors_->size());
    defined_.assign(tensors_->size(), false);
    for (uint32_t i = 0; i < tensors_->size(); ++i) {
      if (!ReadTensor(i)) return "a tensor is malformed";
    }
    if (!ReadEnds(source)) return "not one picture in and one plane out";
    for (const tflite::Operator* op : *source.operators()) {
      if (!ReadOperator(*op)) return "an operator is malformed or not supported";
    }
    if (!defined_[graph_.output]) return "the output is not computed";
    if (!AllUsed()) return "a result leads nowhere";
    return nullptr;
  }

  ModelGraph TakeGraph() { return std::move(graph_); }

 private:
  const flatbuffers::Vector<uint8_t>* Data(uint32_t tensor) const {
    return model_.buffers()->Get(tensors_->Get(tensor)->buffer())->data();
  }

  bool ReadTensor(uint32_t index) {
    const tflite::Tensor& source = *tensors_->Get(index);
    if (source.buffer() >= model_.buffers()->size()) return false;
    Tensor& tensor = graph_.tensors[index];
    size_t elements = 1;
    if (source.shape() != nullptr) {
      if (source.shape()->size() > 4) return false;
      for (const int32_t dim : *source.shape()) {
        if (dim < 1 || static_cast<size_t>(dim) > kMaxTensorElements / elements) return false;
        elements *= static_cast<size_t>(dim);
        tensor.dims.push_back(static_cast<size_t>(dim));
      }
    }
    const auto* data = Data(index);
    if (data == nullptr || data->size() == 0) return true;  // computed, or the graph's input
    switch (source.type()) {
      case tflite::TensorType_FLOAT32:
        return data->size() == elements * sizeof(float) &&
               StoreConstant(index, index, elements, [&](size_t i) {
                 float value;
                 std::memcpy(&value, data->data() + i * sizeof(value), sizeof(value));
                 return value;
               });
      case tflite::TensorType_FLOAT16:
        return data->size() == elements * sizeof(uint16_t);
      case tflite::TensorType_INT32:
        return data->size() == elements * sizeof(int32_t);
    }
    return false;
  }

  // Makes `target` a constant. `value(i)` is its element i.
  template <typename Value>
  bool StoreConstant(uint32_t target, uint32_t shape_of, size_t elements, const Value& value) {
    constant_elements_ += elements;
    if (constant_elements_ > kMaxConstantElements) return false;
    Tensor& tensor = graph_.tensors[target];
    if (tensor.dims != graph_.tensors[shape_of].dims) return false;
    tensor.values.resize(elements);
    for (size_t i = 0; i < elements; ++i) {
      tensor.values[i] = value(i);
      if (!std::isfinite(tensor.values[i])) return false;
    }
    defined_[target] = true;
    return true;
  }

  bool ReadEnds(const tflite::SubGraph& source) {
    if (source.inputs() == nullptr || source.inputs()->size() != 1 || source.outputs() == nullptr ||
        source.outputs()->size() != 1 || !ReadIndex(*source.inputs(), 0, &graph_.input) ||
        !ReadIndex(*source.outputs(), 0, &graph_.output)) {
      return false;
    }
    const Tensor& input = graph_.tensors[graph_.input];
    const Tensor& output = graph_.tensors[graph_.output];
    if (defined_[graph_.input] || defined_[graph_.output] || graph_.input == graph_.output ||
        input.dims.size() != 4 || input.dims[0] != 1 || input.channels() != 3 ||
        output.dims != std::vector<size_t>{1, input.rows(), input.columns(), 1} ||
        !IsFloat(graph_.input)) {
      return false;
    }
    defined_[graph_.input] = true;
    return true;
  }

  bool ReadIndex(const flatbuffers::Vector<int32_t>& indices, uint32_t position,
                 uint32_t* index) const {
    if (position >= indices.size() || indices.Get(position) < 0) return false;
    *index = static_cast<uint32_t>(indices.Get(position));
    return *index < tensors_->size();
  }

  bool IsFloat(uint32_t tensor) const {
    return tensors_->Get(tensor)->type() == tflite::TensorType_FLOAT32;
  }

  // Operand `position` of an operator, which must have been computed before it.
  bool ReadOperand(const tflite::Operator& op, uint32_t position, uint32_t* index) const {
    return ReadIndex(*op.inputs(), position, index) && defined_[*index];
  }

  bool ReadOperator(const tflite::Operator& op) {
    if (op.opcode_index() >= model_.operator_codes()->size() || op.inputs() == nullptr ||
        op.outputs() == nullptr || op.outputs()->size() != 1) {
      return false;
    }
    const tflite::OperatorCode& code = *model_.operator_codes()->Get(op.opcode_index());
    Node node;
    // Every operator writes a float tensor that is its own.
    if (!ReadIndex(*op.outputs(), 0, &node.output) || defined_[node.output] ||
        !IsFloat(node.output)) {
      return false;
    }
    const int number = std::max<int>(code.builtin_code(), code.deprecated_builtin_code());
    if (number == kCodeDequantize) return ReadDequantize(op, node.output);
    if (!ReadOperand(op, 0, &node.input) || !ReadOptions(op, number, code, &node) ||
        !ShapesFit(graph_, node)) {
      return false;
    }
    activation_elements_ += graph_.tensors[node.output].elements();
    multiplications_ += Multiplications(graph_, node);
    if (activation_elements_ > kMaxActivationElements || multiplications_ > kMaxMultiplications) {
      return false;
    }
    defined_[node.output] = true;
    graph_.nodes.push_back(node);
    return true;
  }

  // XNNPACK gives no memory to results that no operation takes, and stops the process over them.
  bool AllUsed() const {
    std::vector<bool> used(graph_.tensors.size(), false);
    used[graph_.output] = true;
    for (const Node& node : graph_.nodes) {
      used[node.input] = true;
      if (node.kind == NodeKind::kAdd || node.kind == NodeKind::kMultiply) used[node.second] = true;
    }
    return used[graph_.input] && std::all_of(graph_.nodes.begin(), graph_.nodes.end(),
                                             [&](const Node& node) { return used[node.output]; });
  }

  bool ReadOptions(const tflite::Operator& op, int number, const tflite::OperatorCode& code,
                   Node* node) const {
    switch (number) {
      case kCodeAdd: {
        node->kind = NodeKind::kAdd;
        const auto* options = op.builtin_options_as_AddOptions();
        return ReadOperand(op, 1, &node->second) &&
               (options == nullptr || SetActivation(options->fused_activation(), node));
      }
      case kCodeMultiply: {
        node->kind = NodeKind::kMultiply;
        const auto* options = op.builtin_options_as_MulOptions();
        return ReadOperand(op, 1, &node->second) &&
               (options == nullptr || SetActivation(options->fused_activation(), node));
      }
      case kCodeAveragePool:
        node->kind = NodeKind::kGlobalAverage;
        return CoversInput(op.builtin_options_as_Pool2DOptions(), node);
      case kCodeConvolution:
        node->kind = NodeKind::kConvolution;
        return ReadOperand(op, 1, &node->weights) && ReadOperand(op, 2, &node->bias) &&
               SetConvolution(op.builtin_options_as_Conv2DOptions(), node);
      case kCodeDepthwiseConvolution:
        node->kind = NodeKind::kDepthwiseConvolution;
        return ReadOperand(op, 1, &node->weights) && ReadOperand(op, 2, &node->bias) &&
               SetConvolution(op.builtin_options_as_DepthwiseConv2DOptions(), node);
      case kCodeCustom:
        node->kind = NodeKind::kTransposedConvolution;
        return code.custom_code() != nullptr &&
               code.custom_code()->string_view() == "Convolution2DTransposeBias" &&
               ReadOperand(op, 1, &node->weights) && ReadOperand(op, 2, &node->bias) &&
               SetTransposedConvolution(op.custom_options(), node);
      case kCodeLogistic:
        node->kind = NodeKind::kSigmoid;
        return true;
      case kCodeRelu:
        node->kind = NodeKind::kRelu;
        return true;
      case kCodeHardSwish:
        node->kind = NodeKind::kHardSwish;
        return true;
      case kCodeResizeBilinear: {
        node->kind = NodeKind::kResizeBilinear;
        const auto* options = op.builtin_options_as_ResizeBilinearOptions();
        const Tensor& output = graph_.tensors[node->output];
        return options != nullptr && options->half_pixel_centers() && !options->align_corners() &&
               output.dims.size() == 4 &&
               HoldsInts(
                   op, 1,
                   {static_cast<int32_t>(output.rows()), static_cast<int32_t>(output.columns())});
      }
      default:
        return false;
    }
  }

  // Half-precision weights are written as a constant and an operator that widens it.
  bool ReadDequantize(const tflite::Operator& op, uint32_t output) {
    uint32_t input;
    if (!ReadIndex(*op.inputs(), 0, &input) ||
        tensors_->Get(input)->type() != tflite::TensorType_FLOAT16) {
      return false;
    }
    const auto* data = Data(input);
    if (data == nullptr || data->size() == 0) return false;
    return StoreConstant(output, input, data->size() / sizeof(uint16_t), [&](size_t i) {
      uint16_t half;
      std::memcpy(&half, data->data() + i * sizeof(half), sizeof(half));
      return HalfToFloat(half);
    });
  }

  // True for a pooling window that is the whole input.
  bool CoversInput(const tflite::Pool2DOptions* options, Node* node) const {
    const Tensor& input = graph_.tensors[node->input];
    return options != nullptr && options->padding() == tflite::Padding_VALID &&
           input.dims.size() == 4 && static_cast<int64_t>(input.rows()) == options->filter_h() &&
           static_cast<int64_t>(input.columns()) == options->filter_w() &&
           SetActivation(options->fused_activation(), node);
  }

  // True if operand `position` is the constant {first, second}.
  bool HoldsInts(const tflite::Operator& op, uint32_t position,
                 const std::array<int32_t, 2>& expected) const {
    uint32_t index;
    if (!ReadIndex(*op.inputs(), position, &index) ||
        tensors_->Get(index)->type() != tflite::TensorType_INT32) {
      return false;
    }
    const auto* data = Data(index);
    return data != nullptr && data->size() == sizeof(expected) &&
           std::memcmp(data->data(), expected.data(), sizeof(expected)) == 0;
  }

  const tflite::Model& model_;
  const flatbuffers::Vector<flatbuffers::Offset<tflite::Tensor>>* tensors_ = nullptr;
  ModelGraph graph_;
  std::vector<bool> defined_;  // constants, the input and the outputs of the nodes so far
  size_t constant_elements_ = 0;
  size_t activation_elements_ = 0;
  double multiplications_ = 0;
};

}  // namespace

std::optional<ModelGraph> ReadModel(std::span<const uint8_t> bytes, std::string* error) {
  if (bytes.size() > kMaxModelBytes) {
    *error = "the file is too large";
    return std::nullopt;
  }
  // The file's numbers are read where they stand, so they must stand aligned.
  std::vector<uint64_t> aligned((bytes.size() + sizeof(uint64_t) - 1) / sizeof(uint64_t));
  if (!bytes.empty()) std::memcpy(aligned.data(), bytes.data(), bytes.size());
  const auto* data = reinterpret_cast<const uint8_t*>(aligned.data());
  flatbuffers::Verifier verifier(data, bytes.size());
  if (bytes.size() < 2 * sizeof(uint32_t) || !tflite::VerifyModelBuffer(verifier)) {
    *error = "it is not a complete TensorFlow Lite file";
    return std::nullopt;
  }
  Reader reader(*tflite::GetModel(data));
  if (const char* problem = reader.Read()) {
    *error = problem;
    return std::nullopt;
  }
  return reader.TakeGraph();
}

}  // namespace vantro::engine
