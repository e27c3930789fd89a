// The options of the model file's operators, checked and brought into a node.
#ifndef VANTRO_ENGINE_MODEL_OPTIONS_H_
#define VANTRO_ENGINE_MODEL_OPTIONS_H_

#include "engine/model_graph.h"
#include "tflite_model_generated.h"

namespace vantro::engine {

// All of them return false for options that are missing, out of range or not known. Options may be
// null.

bool SetActivation(tflite::Activation activation, Node* node);
bool SetConvolution(const tflite::Conv2DOptions* options, Node* node);
bool SetConvolution(const tflite::DepthwiseConv2DOptions* options, Node* node);

// The transposed convolution is not one of the format's own operators: its writer stores three
// numbers.
bool SetTransposedConvolution(const flatbuffers::Vector<uint8_t>* options, Node* node);

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_MODEL_OPTIONS_H_
