// The engine's reader of network files: a graph, or a reason why not; a small graph also runs.
#include <cstdlib>
#include <span>
#include <string>

#include "engine/model_file.h"
#include "engine/model_shapes.h"
#include "engine/network.h"

namespace {

using namespace vantro::engine;

bool IsSmall(const ModelGraph& graph) {
  double work = 0;
  for (const Node& node : graph.nodes) {
    work +=
        Multiplications(graph, node) + static_cast<double>(graph.tensors[node.output].elements());
  }
  return work + static_cast<double>(graph.tensors[graph.input].elements()) < 1e6;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string error;
  std::optional<ModelGraph> graph = ReadModel(std::span(data, size), &error);
  if (graph.has_value() != error.empty()) std::abort();
  if (graph && IsSmall(*graph)) {
    const auto network = Network::Create(std::move(*graph), &error);
    if (network && !network->Run()) std::abort();
  }
  return 0;
}
