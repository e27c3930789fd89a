#include "engine/model_options.h"

#include <cstring>

namespace vantro::engine {
namespace {

constexpr int kMaxStep = 256;  // strides and dilations

bool SetStep(int rows, int columns, Extent* step) {
  if (rows < 1 || rows > kMaxStep || columns < 1 || columns > kMaxStep) return false;
  *step = {static_cast<uint32_t>(rows), static_cast<uint32_t>(columns)};
  return true;
}

bool SetPadding(int padding, Node* node) {
  node->same_padding = padding == tflite::Padding_SAME;
  return padding == tflite::Padding_SAME || padding == tflite::Padding_VALID;
}

template <typename Options>
bool SetAll(const Options* options, Node* node) {
  return options != nullptr && SetStep(options->stride_h(), options->stride_w(), &node->stride) &&
         SetStep(options->dilation_h(), options->dilation_w(), &node->dilation) &&
         SetPadding(options->padding(), node) && SetActivation(options->fused_activation(), node);
}

}  // namespace

bool SetActivation(tflite::Activation activation, Node* node) {
  switch (activation) {
    case tflite::Activation_NONE:
      return true;
    case tflite::Activation_RELU:
      node->output_min = 0.0f;
      return true;
    case tflite::Activation_RELU_N1_TO_1:
      node->output_min = -1.0f;
      node->output_max = 1.0f;
      return true;
    case tflite::Activation_RELU6:
      node->output_min = 0.0f;
      node->output_max = 6.0f;
      return true;
  }
  return false;
}

bool SetConvolution(const tflite::Conv2DOptions* options, Node* node) {
  return SetAll(options, node);
}

bool SetConvolution(const tflite::DepthwiseConv2DOptions* options, Node* node) {
  return SetAll(options, node);
}

bool SetTransposedConvolution(const flatbuffers::Vector<uint8_t>* options, Node* node) {
  struct {
    int32_t padding;  // without effect, because the kernel is as large as the stride
    int32_t stride_columns;
    int32_t stride_rows;
  } values;
  if (options == nullptr || options->size() != sizeof(values)) return false;
  std::memcpy(&values, options->data(), sizeof(values));
  return SetStep(values.stride_rows, values.stride_columns, &node->stride);
}

}  // namespace vantro::engine
