// The reader of model files: what is right is read, everything else is refused without harm.
#include "engine/model_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/half_float.h"
#include "engine/model_shapes.h"
#include "engine/network.h"
#include "tflite_model_generated.h"

namespace vantro::test {
namespace {

namespace tflite = engine::tflite;
using engine::ModelGraph;
using engine::Node;

std::vector<uint8_t> RealModel() {
  const std::string path = std::string(VANTRO_MODEL_DIR) + "/selfie_segmentation.tflite";
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + " is missing: run scripts/fetch-model");
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::optional<ModelGraph> Read(const std::vector<uint8_t>& bytes) {
  // A copy of just this size, so that the address sanitizer sees every byte read behind it.
  const std::unique_ptr<uint8_t[]> exact(new uint8_t[bytes.size() + 1]);
  std::copy(bytes.begin(), bytes.end(), exact.get() + 1);
  std::string error;
  std::optional<ModelGraph> graph = engine::ReadModel({exact.get() + 1, bytes.size()}, &error);
  EXPECT_EQ(graph.has_value(), error.empty()) << error;
  return graph;
}

TEST(ModelFile, ReadsTheNetwork) {
  const std::optional<ModelGraph> graph = Read(RealModel());
  ASSERT_TRUE(graph);
  int counts[10] = {};
  double multiplications = 0;
  for (const Node& node : graph->nodes) {
    ++counts[static_cast<int>(node.kind)];
    multiplications += engine::Multiplications(*graph, node);
  }
  // In the order of NodeKind. 110 more operators of the file only widen weights.
  EXPECT_THAT(counts, testing::ElementsAre(43, 11, 1, 10, 14, 10, 22, 11, 11, 3));
  EXPECT_NEAR(multiplications, 64e6, 1e6);
}

TEST(ModelFile, SurvivesDamagedBytes) {
  const std::vector<uint8_t> bytes = RealModel();
  std::mt19937 random(7);
  int refused = 0;
  for (int round = 0; round < 1500; ++round) {
    std::vector<uint8_t> damaged = bytes;
    for (size_t left = 1 + random() % 4; left > 0; --left) {
      // The tables stand at the ends of the file, the weights between them.
      const size_t at = random() % (round % 3 == 0 ? bytes.size() : 30000);
      damaged[round % 2 == 0 ? at : bytes.size() - 1 - at] = static_cast<uint8_t>(random());
    }
    const bool cut = round % 8 == 0;
    if (cut) damaged.resize(random() % damaged.size());
    const bool read = Read(damaged).has_value();
    ASSERT_FALSE(cut && read) << damaged.size();
    refused += !read;
  }
  EXPECT_GT(refused, 300);
}

TEST(ModelFile, WidensHalfPrecisionExactly) {
  for (uint32_t bits = 0; bits < 0x10000; ++bits) {
    const float got = engine::HalfToFloat(static_cast<uint16_t>(bits));
    const int exponent = static_cast<int>(bits >> 10 & 31);
    const double fraction = bits & 1023;
    ASSERT_EQ(std::signbit(got), bits >> 15 == 1) << bits;
    if (exponent == 31) {
      ASSERT_TRUE(fraction == 0 ? std::isinf(got) : std::isnan(got)) << bits;
    } else {
      ASSERT_EQ(std::abs(got), exponent == 0 ? std::ldexp(fraction, -24)
                                             : std::ldexp(1024 + fraction, exponent - 25))
          << bits;
    }
  }
}

// A convolution of 3 to 1 channels and a sigmoid, with every number of the file open to change.
struct TinyModel {
  struct TinyTensor {
    std::vector<int32_t> shape;
    tflite::TensorType type = tflite::TensorType_FLOAT32;
    uint32_t buffer = 0;
  };
  uint32_t version = 3;
  std::vector<TinyTensor> tensors = {{{1, 8, 8, 3}}, {{1, 3, 3, 3}, tflite::TensorType_FLOAT16, 1},
                                     {{1, 3, 3, 3}}, {{1}, tflite::TensorType_FLOAT32, 2},
                                     {{1, 8, 8, 1}}, {{1, 8, 8, 1}}};
  std::vector<size_t> buffers = {0, 54, 4};
  uint8_t fill = 0;
  std::vector<int32_t> inputs = {0};
  std::vector<int32_t> outputs = {5};
  std::vector<int> codes = {6, 3, 14};
  struct TinyOperator {
    uint32_t code;
    std::vector<int32_t> inputs;
    std::vector<int32_t> outputs;
  };
  std::vector<TinyOperator> operators = {{0, {1}, {2}}, {1, {0, 2, 3}, {4}}, {2, {4}, {5}}};
  int stride = 1;
  int dilation = 1;
  int padding = tflite::Padding_SAME;
  int activation = tflite::Activation_NONE;
  bool options = true;

  std::vector<uint8_t> Build() const {
    flatbuffers::FlatBufferBuilder b;
    const auto each = [](const auto& items, const auto& create) {
      std::vector<decltype(create(items[0]))> tables;
      for (const auto& item : items) tables.push_back(create(item));
      return tables;
    };
    const auto tensor_tables = each(tensors, [&](const TinyTensor& t) {
      return tflite::CreateTensorDirect(b, &t.shape, t.type, t.buffer);
    });
    const auto operator_tables = each(operators, [&](const TinyOperator& o) {
      const bool convolution = o.code == 1 && options;
      const auto value = tflite::CreateConv2DOptions(
                             b, static_cast<tflite::Padding>(padding), stride, stride,
                             static_cast<tflite::Activation>(activation), dilation, dilation)
                             .Union();
      return tflite::CreateOperatorDirect(
          b, o.code, &o.inputs, &o.outputs,
          convolution ? tflite::BuiltinOptions_Conv2DOptions : tflite::BuiltinOptions_NONE,
          convolution ? value : flatbuffers::Offset<void>());
    });
    const auto code_tables = each(codes, [&](int code) {
      return tflite::CreateOperatorCode(b, static_cast<int8_t>(code), 0, 1, code);
    });
    const auto buffer_tables = each(buffers, [&](size_t size) {
      const std::vector<uint8_t> data(size, fill);
      return tflite::CreateBufferDirect(b, &data);
    });
    const std::vector graphs = {
        tflite::CreateSubGraphDirect(b, &tensor_tables, &inputs, &outputs, &operator_tables)};
    b.Finish(tflite::CreateModelDirect(b, version, &code_tables, &graphs, nullptr, &buffer_tables),
             tflite::ModelIdentifier());
    return {b.GetBufferPointer(), b.GetBufferPointer() + b.GetSize()};
  }
};

TEST(ModelFile, ChecksEveryNumberItUses) {
  ASSERT_TRUE(Read(TinyModel().Build()));
  using Fault = std::function<void(TinyModel&)>;
  // tensors[index] of another shape, and operators[index] with other operands or results.
  const auto shape = [](size_t index, std::vector<int32_t> dims) -> Fault {
    return [=](TinyModel& m) { m.tensors[index].shape = dims; };
  };
  const auto takes = [](size_t index, std::vector<int32_t> operands) -> Fault {
    return [=](TinyModel& m) { m.operators[index].inputs = operands; };
  };
  const auto gives = [](size_t index, std::vector<int32_t> results) -> Fault {
    return [=](TinyModel& m) { m.operators[index].outputs = results; };
  };
  const auto set = [](auto member, auto value) -> Fault {
    return [=](TinyModel& m) { m.*member = value; };
  };
  using T = TinyModel;
  using List = std::vector<int32_t>;
  const std::vector<std::pair<const char*, Fault>> faults = {
      {"version", set(&T::version, 2u)},
      {"no tensors", [](T& m) { m.tensors.clear(); }},
      {"buffer index", [](T& m) { m.tensors[3].buffer = 3; }},
      {"buffer of another size", set(&T::buffers, std::vector<size_t>{0, 52, 4})},
      {"buffer larger than the shape", set(&T::buffers, std::vector<size_t>{0, 54, 8})},
      {"weights that are no numbers", set(&T::fill, uint8_t{0xFF})},
      {"weights without data", set(&T::buffers, std::vector<size_t>{0, 0, 4})},
      {"bias without data", set(&T::buffers, std::vector<size_t>{0, 54, 0})},
      {"five dimensions", shape(0, {1, 1, 8, 8, 3})},
      {"three dimensions", shape(0, {8, 8, 3})},
      {"empty dimension", shape(4, {1, 0, 8, 1})},
      {"negative dimension", shape(4, {1, -8, 8, 1})},
      {"product beyond 32 bits", shape(0, {1, INT32_MAX, INT32_MAX, 3})},
      {"product of 2^64", shape(0, {65536, 65536, 65536, 65536})},
      {"batch", shape(0, {2, 8, 8, 3})},
      {"channels of the picture", shape(0, {1, 8, 8, 4})},
      {"size of the answer", shape(5, {1, 4, 8, 1})},
      {"weights of other channels",
       [](T& m) { m.tensors[1].shape = m.tensors[2].shape = List{3, 3, 3, 1}; }},
      {"widened to another shape", shape(2, {1, 3, 9, 1})},
      {"size after the convolution",
       [](T& m) { m.tensors[4].shape = m.tensors[5].shape = List{1, 7, 8, 1}; }},
      {"input index", set(&T::inputs, List{6})},
      {"negative input index", set(&T::inputs, List{-1})},
      {"two inputs", set(&T::inputs, List{0, 0})},
      {"constant as input", set(&T::inputs, List{3})},
      {"no output", set(&T::outputs, List{})},
      {"input as output", set(&T::outputs, List{0})},
      {"output not computed", [](T& m) { m.operators.pop_back(); }},
      {"operator code index", [](T& m) { m.operators[2].code = 3; }},
      {"unknown operator", [](T& m) { m.codes[2] = 9; }},
      {"negative operator code", [](T& m) { m.codes[2] = -1; }},
      {"custom operator without a name", [](T& m) { m.codes[2] = 32; }},
      {"operand index", takes(1, {6, 2, 3})},
      {"optional operand", takes(1, {0, 2, -1})},
      {"missing operand", takes(1, {0, 2})},
      {"operator without operands", takes(2, {})},
      {"activation as weights", takes(1, {0, 0, 3})},
      {"operand before it is computed", [](T& m) { std::swap(m.operators[1], m.operators[2]); }},
      {"result written twice", [](T& m) { m.operators.push_back({2, {4}, {5}}); }},
      {"result over a constant", gives(1, {3})},
      {"result over the input", gives(1, {0})},
      {"result index", gives(1, {-2})},
      {"two results", gives(1, {4, 5})},
      {"result that nothing takes",
       [](T& m) {
         m.tensors.push_back({{1, 8, 8, 1}});
         m.operators.push_back({2, {4}, {6}});
       }},
      {"half-precision result", [](T& m) { m.tensors[4].type = tflite::TensorType_FLOAT16; }},
      {"bias of another size",
       [](T& m) {
         m.tensors[3].shape = {2};
         m.buffers[2] = 8;
       }},
      {"kernel beyond the input",
       [](T& m) {
         m.padding = tflite::Padding_VALID;
         m.dilation = 4;
       }},
      {"stride of nothing", set(&T::stride, 0)},
      {"negative stride", set(&T::stride, -1)},
      {"huge stride", set(&T::stride, INT32_MAX)},
      {"stride that does not fit", set(&T::stride, 2)},
      {"negative dilation", set(&T::dilation, -1)},
      {"unknown padding", set(&T::padding, 7)},
      {"unknown activation", set(&T::activation, 4)},
      {"no options", set(&T::options, false)},
      {"too much work",
       [](T& m) {
         for (const size_t i : {0u, 4u, 5u}) m.tensors[i].shape = {1, 2048, 2048, i == 0 ? 3 : 1};
         m.tensors[1].shape = m.tensors[2].shape = List{1, 19, 19, 3};
         m.buffers[1] = 2 * 19 * 19 * 3;
       }},
  };
  for (const auto& [name, damage] : faults) {
    TinyModel model;
    damage(model);
    EXPECT_FALSE(Read(model.Build())) << name;
  }
}

}  // namespace
}  // namespace vantro::test
