// Reads a network out of a TensorFlow Lite file.
#ifndef VANTRO_ENGINE_MODEL_FILE_H_
#define VANTRO_ENGINE_MODEL_FILE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "engine/model_graph.h"

namespace vantro::engine {

constexpr size_t kMaxModelBytes = size_t{64} << 20;

// The bytes may come from anywhere: whatever they hold, the result is either a graph whose every
// index, shape and option has been checked, or nothing and the reason in `error`. Weights of half
// precision are expanded. Throws std::bad_alloc only.
std::optional<ModelGraph> ReadModel(std::span<const uint8_t> bytes, std::string* error);

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_MODEL_FILE_H_
