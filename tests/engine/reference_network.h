// The network's operations written out as their definitions, in double precision, to compare with.
#ifndef VANTRO_TESTS_ENGINE_REFERENCE_NETWORK_H_
#define VANTRO_TESTS_ENGINE_REFERENCE_NETWORK_H_

#include <vector>

#include "engine/model_graph.h"

namespace vantro::test {

// The output of `graph` for a picture of rows * columns * 3 floats.
std::vector<double> RunReference(const engine::ModelGraph& graph, const std::vector<double>& input);

}  // namespace vantro::test

#endif  // VANTRO_TESTS_ENGINE_REFERENCE_NETWORK_H_
