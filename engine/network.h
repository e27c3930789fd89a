// Runs a network on XNNPACK, on the calling thread.
#ifndef VANTRO_ENGINE_NETWORK_H_
#define VANTRO_ENGINE_NETWORK_H_

#include <xnnpack.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/model_graph.h"

namespace vantro::engine {

class Network {
 public:
  // Null and the reason in `error` if XNNPACK refuses the graph. Throws std::bad_alloc only.
  static std::unique_ptr<Network> Create(ModelGraph graph, std::string* error);

  int rows() const { return rows_; }
  int columns() const { return columns_; }

  // The picture: rows * columns * 3 floats, red, green and blue in 0..1, to be filled before Run.
  float* input() { return input_.data(); }
  // The probability that a pixel shows a person: rows * columns floats, valid after Run.
  const float* output() const { return output_.data(); }

  // Allocates nothing. False if XNNPACK fails.
  bool Run();

 private:
  struct Deleter {
    void operator()(xnn_runtime_t runtime) const { xnn_delete_runtime(runtime); }
  };

  explicit Network(ModelGraph graph);

  ModelGraph graph_;  // XNNPACK keeps pointers to its constants
  int rows_;
  int columns_;
  std::vector<float> input_;
  std::vector<float> output_;
  std::unique_ptr<xnn_runtime, Deleter> runtime_;
};

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_NETWORK_H_
