// Finds the model file.
#ifndef VANTRO_ENGINE_MODEL_STORE_H_
#define VANTRO_ENGINE_MODEL_STORE_H_

#include <optional>
#include <string>

#include "engine/model_graph.h"

namespace vantro::engine {

// Reads selfie_segmentation.tflite from the first of these folders that has it: `model_dir` (may be
// null), the environment variable VANTRO_MODEL_DIR, and ../share/vantro beside this library. If
// there is none, or the one found is damaged, the result is empty and `error` names the places with
// what was wrong with each. A model taken from beside the library although VANTRO_MODEL_DIR names a
// folder is logged: the name may be mistyped.
std::optional<ModelGraph> LoadModel(const char* model_dir, std::string* error);

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_MODEL_STORE_H_
