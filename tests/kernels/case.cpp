#include "tests/kernels/case.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace vantro::test {
namespace {

void* PoolAlloc(uint32_t size, const char* /*name*/, int32_t /*zero*/) { return std::malloc(size); }
void PoolFree(void* block, const char* /*name*/, int32_t /*zero*/) { std::free(block); }

MemPool* Pool() {
  static MemPool pool = {&PoolAlloc, &PoolFree};
  return &pool;
}

}  // namespace

Case::Case(uint32_t seed) : random_(seed) {
  ParamBlock params = {};
  params.tuning.area_ratio = 0.005f;
  context_ = BuildAlgoCxt(&params, Pool());
}

Case::~Case() { PoolFree(context_, "init_cxt", 0); }

// The standard distributions differ between libraries; the engine does not.
int Case::Draw(int low, int high) {
  const uint32_t span = static_cast<uint32_t>(int64_t{high} - low + 1);
  return static_cast<int>(low + static_cast<int64_t>(span == 0 ? random_() : random_() % span));
}

int Case::Noted(int value) {
  notes_ += std::to_string(value) + " ";
  return value;
}

int Case::Int(int low, int high) { return Noted(Draw(low, high)); }

float Case::Float(float low, float high) {
  return low + (high - low) * (static_cast<float>(random_() >> 8) / 16777216.0f);
}

int Case::Size(int least) {
  const int kind = Draw(0, 9);
  const int size = kind < 5 ? Draw(1, 40) : kind < 9 ? 16 * Draw(1, 9) + Draw(-1, 1) : Draw(1, 300);
  return Noted(std::max(size, least));
}

int Case::Pitch(int row) { return Noted(row + (OneIn(2) ? 0 : Draw(1, 40))); }

Image Case::DrawImage() {
  const int width = Size();
  return {width, Int(1, 40)};
}

GuardedBuffer& Case::NewBuffer(int64_t bytes, bool output) {
  buffers_.push_back(std::make_unique<GuardedBuffer>(static_cast<size_t>(bytes)));
  GuardedBuffer& buffer = *buffers_.back();
  for (size_t i = 0; i < buffer.size(); ++i) buffer[i] = static_cast<uint8_t>(random_());
  if (output) outputs_.push_back(&buffer);
  return buffer;
}

uint8_t* Case::In(int64_t bytes) {
  GuardedBuffer& buffer = NewBuffer(bytes, false);
  buffer.set_read_only(true);
  return buffer.data();
}

uint8_t* Case::Grey(int64_t bytes) {
  GuardedBuffer& buffer = NewBuffer(bytes, false);
  const int kind = Draw(0, 2);
  for (size_t i = 0; i < buffer.size(); ++i) {
    if (kind == 1) buffer[i] = static_cast<uint8_t>(255 * (buffer[i] % 2));
    if (kind == 2) buffer[i] %= 3;
  }
  buffer.set_read_only(true);
  return buffer.data();
}

uint8_t* Case::Out(int64_t bytes) { return NewBuffer(bytes, true).data(); }

uint8_t* Case::Mask(int width, int height) {
  uint8_t* mask = Out(int64_t{width} * height);
  const int cell = Int(1, 6);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      uint8_t& pixel = mask[int64_t{y} * width + x];
      if (x % cell != 0) {
        pixel = *(&pixel - 1);
      } else if (y % cell != 0) {
        pixel = *(&pixel - width);
      } else {
        pixel = pixel % 8 == 7 ? 7 : pixel % 2;
      }
    }
  }
  return mask;
}

uint8_t* Case::Floats(int64_t count, float low, float high, bool output) {
  GuardedBuffer& buffer = NewBuffer(count * int64_t{sizeof(float)}, output);
  for (int64_t i = 0; i < count; ++i) {
    const float value = Float(low, high);
    std::memcpy(buffer.data() + i * int64_t{sizeof(float)}, &value, sizeof(value));
  }
  buffer.set_read_only(!output);
  return buffer.data();
}

const float* Case::FloatsIn(int64_t count, float low, float high) {
  return reinterpret_cast<const float*>(Floats(count, low, high, false));
}

float* Case::FloatsOut(int64_t count, float low, float high) {
  return reinterpret_cast<float*>(Floats(count, low, high, true));
}

int32_t* Case::IntsOut(int64_t count, int32_t low, int32_t high) {
  auto* values =
      reinterpret_cast<int32_t*>(NewBuffer(count * int64_t{sizeof(int32_t)}, true).data());
  for (int64_t i = 0; i < count; ++i) values[i] = Draw(low, high);
  return values;
}

void Case::ExpectBytes(const uint8_t* at, const void* bytes, size_t size) {
  for (const GuardedBuffer* buffer : outputs_) {
    if (at < buffer->data() || at + size > buffer->data() + buffer->size()) continue;
    std::vector<uint8_t>& expected = expected_[buffer];
    if (expected.empty()) expected.assign(buffer->data(), buffer->data() + buffer->size());
    std::memcpy(expected.data() + (at - buffer->data()), bytes, size);
    return;
  }
  ++wrong_claims_;  // beyond every buffer
}

std::string Case::Difference() const {
  std::string difference = wrong_claims_ == 0 ? "" : "a wrong answer, or an element out of bounds";
  for (const auto& [buffer, expected] : expected_) {
    const auto [have, want] =
        std::mismatch(buffer->data(), buffer->data() + buffer->size(), expected.begin());
    if (want == expected.end()) continue;
    difference += "byte " + std::to_string(have - buffer->data()) + " is " + std::to_string(*have) +
                  ", not " + std::to_string(*want);
  }
  return difference;
}

std::vector<std::vector<uint8_t>> Case::Outcome() const {
  std::vector<std::vector<uint8_t>> outcome;
  for (const GuardedBuffer* buffer : outputs_) {
    outcome.emplace_back(buffer->data(), buffer->data() + buffer->size());
  }
  const auto* results = reinterpret_cast<const uint8_t*>(results_.data());
  outcome.emplace_back(results, results + results_.size() * sizeof(int64_t));
  return outcome;
}

bool Case::guards_intact() const {
  return std::all_of(buffers_.begin(), buffers_.end(),
                     [](const auto& buffer) { return buffer->front_intact(); });
}

}  // namespace vantro::test
