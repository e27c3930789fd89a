// The shape rules of the network's operations.
#ifndef VANTRO_ENGINE_MODEL_SHAPES_H_
#define VANTRO_ENGINE_MODEL_SHAPES_H_

#include "engine/model_graph.h"

namespace vantro::engine {

// True if the tensors of `node` have the dimensions that its operation asks for and the declared
// output is as large as the operation makes it. The tensor indices are valid.
bool ShapesFit(const ModelGraph& graph, const Node& node);

// About how many multiplications a node whose shapes fit takes.
double Multiplications(const ModelGraph& graph, const Node& node);

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_MODEL_SHAPES_H_
