// The reader of model files: what is right is read, everything else is refused without harm.
#include "engine/model_file.h"

#include <flatbuffers/idl.h>
#include <flatbuffers/util.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "engine/half_float.h"
#include "engine/model_shapes.h"
#include "engine/network.h"

namespace vantro::test {
namespace {

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

// A convolution of 3 to 1 channels and a sigmoid, as JSON. "54 of 0" stands for as many numbers.
constexpr char kOptions[] =
    "builtin_options_type: Conv2DOptions, builtin_options: {padding: SAME, "
    "stride_w: 1, stride_h: 1, dilation_w: 1, dilation_h: 1}";
constexpr char kSigmoid[] = "{opcode_index: 2, inputs: [4], outputs: [5]}";
const std::string kTinyModel = std::string(R"({
  version: 3,
  operator_codes: [{builtin_code: 6}, {builtin_code: 3}, {builtin_code: 14}],
  subgraphs: [{
    tensors: [{shape: [1, 8, 8, 3]}, {shape: [1, 3, 3, 3], type: "FLOAT16", buffer: 1},
              {shape: [1, 3, 3, 3]}, {shape: [1], buffer: 2},
              {shape: [1, 8, 8, 1]}, {shape: [1, 8, 8, 1]}],
    inputs: [0], outputs: [5],
    operators: [{opcode_index: 0, inputs: [1], outputs: [2]},
                {opcode_index: 1, inputs: [0, 2, 3], outputs: [4], )") +
                               kOptions + "}, " + kSigmoid + R"(]}],
  buffers: [{}, {data: [54 of 0]}, {data: [4 of 0]}]})";

std::vector<uint8_t> Build(std::string json) {
  static flatbuffers::Parser* const parser = [] {
    flatbuffers::IDLOptions options;
    options.skip_unexpected_fields_in_json = true;
    auto* with_schema = new flatbuffers::Parser(options);
    std::string schema;
    EXPECT_TRUE(flatbuffers::LoadFile(VANTRO_MODEL_SCHEMA, false, &schema));
    EXPECT_TRUE(with_schema->Parse(schema.c_str())) << with_schema->error_;
    return with_schema;
  }();
  const std::regex repeated("(\\d+) of (\\d+)");
  for (std::smatch found; std::regex_search(json, found, repeated);) {
    std::string numbers;
    for (int left = std::stoi(found[1]); left > 0; --left) numbers += found[2].str() + ", ";
    json = found.prefix().str() + numbers + found.suffix().str();
  }
  EXPECT_TRUE(parser->Parse(json.c_str())) << parser->error_;
  const auto& built = parser->builder_;
  return {built.GetBufferPointer(), built.GetBufferPointer() + built.GetSize()};
}

TEST(ModelFile, ChecksEveryNumberItUses) {
  ASSERT_TRUE(Read(Build(kTinyModel)));
  // Parts of the text and what takes their place.
  using Edits = std::vector<std::pair<std::string, std::string>>;
  const std::string picture = "[1, 8, 8, 3]", halves = "[1, 3, 3, 3], type",
                    weights = "[1, 3, 3, 3]}", bias = "[1], buffer: 2", result = "[1, 8, 8, 1]},",
                    answer = "[1, 8, 8, 1]}]", strides = "stride_w: 1, stride_h: 1",
                    operands = "inputs: [0, 2, 3]";
  const std::vector<std::pair<const char*, Edits>> faults = {
      {"version", {{"version: 3", "version: 2"}}},
      {"no tensors", {{"tensors:", "no_tensors:"}}},
      {"buffer index", {{bias, "[1], buffer: 3"}}},
      {"buffer of another size", {{"54 of 0", "52 of 0"}}},
      {"buffer larger than the shape", {{"[4 of 0]", "[8 of 0]"}}},
      {"weights that are no numbers", {{"54 of 0", "54 of 255"}}},
      {"bias that is no number", {{"[4 of 0]", "[4 of 255]"}}},
      {"weights without data", {{"54 of 0", ""}}},
      {"bias without data", {{"[4 of 0]", "[]"}}},
      {"five dimensions", {{picture, "[1, 1, 8, 8, 3]"}}},
      {"three dimensions", {{picture, "[8, 8, 3]"}}},
      {"empty dimension", {{result, "[1, 0, 8, 1]},"}}},
      {"negative dimension", {{result, "[1, -8, 8, 1]},"}}},
      {"product beyond 32 bits", {{picture, "[1, 2147483647, 2147483647, 3]"}}},
      {"product of 2^64", {{picture, "[65536, 65536, 65536, 65536]"}}},
      {"batch", {{picture, "[2, 8, 8, 3]"}}},
      {"channels of the picture", {{picture, "[1, 8, 8, 4]"}}},
      {"size of the answer", {{answer, "[1, 4, 8, 1]}]"}}},
      {"weights of other channels", {{halves, "[3, 3, 3, 1], type"}, {weights, "[3, 3, 3, 1]}"}}},
      {"widened to another shape", {{weights, "[1, 3, 9, 1]}"}}},
      {"size after the convolution", {{answer, "[1, 7, 8, 1]}]"}, {result, "[1, 7, 8, 1]},"}}},
      {"input index", {{"inputs: [0],", "inputs: [6],"}}},
      {"negative input index", {{"inputs: [0],", "inputs: [-1],"}}},
      {"two inputs", {{"inputs: [0],", "inputs: [0, 0],"}}},
      {"constant as input", {{"inputs: [0],", "inputs: [3],"}}},
      {"no output", {{"outputs: [5],", "outputs: [],"}}},
      {"input as output", {{"outputs: [5],", "outputs: [0],"}}},
      {"output not computed", {{kSigmoid, ""}}},
      {"operator code index", {{"opcode_index: 2", "opcode_index: 3"}}},
      {"unknown operator", {{"builtin_code: 14", "builtin_code: 9"}}},
      {"negative operator code", {{"builtin_code: 14", "builtin_code: -1"}}},
      {"custom operator without a name", {{"builtin_code: 14", "builtin_code: 32"}}},
      {"operand index", {{operands, "inputs: [6, 2, 3]"}}},
      {"optional operand", {{operands, "inputs: [0, 2, -1]"}}},
      {"missing operand", {{operands, "inputs: [0, 2]"}}},
      {"operator without operands", {{"inputs: [4]", "inputs: []"}}},
      {"activation as weights", {{operands, "inputs: [0, 0, 3]"}}},
      {"operand before it is computed",
       {{kSigmoid, ""}, {"{opcode_index: 1", std::string(kSigmoid) + ", {opcode_index: 1"}}},
      {"result written twice", {{kSigmoid, std::string(kSigmoid) + ", " + kSigmoid}}},
      {"result over a constant", {{"outputs: [4]", "outputs: [3]"}}},
      {"result over the input", {{"outputs: [4]", "outputs: [0]"}}},
      {"result index", {{"outputs: [4]", "outputs: [-2]"}}},
      {"two results", {{"outputs: [4]", "outputs: [4, 5]"}}},
      {"result that nothing takes",
       {{answer, "[1, 8, 8, 1]}, {shape: [1, 8, 8, 1]}]"},
        {"outputs: [5]}", "outputs: [5]}, {opcode_index: 2, inputs: [4], outputs: [6]}"}}},
      {"half-precision result", {{result, "[1, 8, 8, 1], type: \"FLOAT16\"},"}}},
      {"bias of another size", {{bias, "[2], buffer: 2"}, {"[4 of 0]", "[8 of 0]"}}},
      {"kernel beyond the input",
       {{"SAME", "VALID"}, {"dilation_w: 1, dilation_h: 1", "dilation_w: 4, dilation_h: 4"}}},
      {"stride of nothing", {{strides, "stride_w: 0, stride_h: 0"}}},
      {"negative stride", {{strides, "stride_w: -1, stride_h: -1"}}},
      {"huge stride", {{strides, "stride_w: 2147483647, stride_h: 2147483647"}}},
      {"stride that does not fit", {{strides, "stride_w: 2, stride_h: 2"}}},
      {"negative dilation", {{"dilation_w: 1", "dilation_w: -1"}}},
      {"unknown padding", {{"SAME", "7"}}},
      {"unknown activation", {{"SAME", "SAME, fused_activation: 4"}}},
      {"no options", {{kOptions, ""}}},
      {"too much work",
       {{picture, "[1, 2048, 2048, 3]"},
        {answer, "[1, 2048, 2048, 1]}]"},
        {result, "[1, 2048, 2048, 1]},"},
        {halves, "[1, 19, 19, 3], type"},
        {weights, "[1, 19, 19, 3]}"},
        {"54 of 0", "2166 of 0"}}},
  };
  for (const auto& [name, edits] : faults) {
    std::string json = kTinyModel;
    for (const auto& [part, other] : edits) {
      ASSERT_NE(json.find(part), std::string::npos) << name;
      json.replace(json.find(part), part.size(), other);
    }
    EXPECT_FALSE(Read(Build(json))) << name;
  }
}

}  // namespace
}  // namespace vantro::test
