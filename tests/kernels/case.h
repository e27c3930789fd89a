// One random call of an operation: its sizes, its buffers, and everything that it left behind.
#ifndef VANTRO_TESTS_KERNELS_CASE_H_
#define VANTRO_TESTS_KERNELS_CASE_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/guarded_buffer.h"
#include "vantro/algo_context.h"
#include "vantro/vantro.h"

namespace vantro::test {

// What a formula gives for an element that keeps its value.
constexpr int kKept = -1;

struct Image {
  int width, height;
  int64_t size() const { return int64_t{width} * height; }
};

// The same seed draws the same case on every machine. Buffers end at an inaccessible page, start at
// whatever address that gives, and have guard bytes in front; inputs cannot be written.
class Case {
 public:
  explicit Case(uint32_t seed);
  ~Case();
  Case(const Case&) = delete;
  Case& operator=(const Case&) = delete;

  int Int(int low, int high);  // both included
  float Float(float low, float high);
  bool OneIn(int n) { return Draw(1, n) == 1; }
  // A row length: mostly short, often one beside a multiple of 16, at most 300.
  int Size(int least = 1);
  // Bytes or elements from one row to the next: the row itself or somewhat more.
  int Pitch(int row);

  // Of up to 40 rows.
  Image DrawImage();

  // Random bytes; a mask has few values, with regions of some size.
  uint8_t* In(int64_t bytes);    // not const: some operations take what they only read like that
  uint8_t* Grey(int64_t bytes);  // the same, or of extremes alone, or of small values
  uint8_t* Out(int64_t bytes);
  uint8_t* Mask(int width, int height);
  // Random floats between the bounds, mostly with fractions.
  const float* FloatsIn(int64_t count, float low, float high);
  float* FloatsOut(int64_t count, float low, float high);
  int32_t* IntsOut(int64_t count, int32_t low, int32_t high);

  // A rows x row image whose last row has no padding behind it.
  static int64_t Plane(int row, int rows, int pitch) { return int64_t{pitch} * (rows - 1) + row; }
  // A frame of one row or column has no chroma.
  static int64_t SemiPlanar(int width, int height, int stride) {
    if (width < 2 || height < 2) return Plane(width, height, stride);
    return int64_t{stride} * height + Plane(width / 2 * 2, height / 2, stride);
  }
  static int64_t Packed(int width, int height, int stride) {
    return Plane((width + 1) / 2 * 4, height, 2 * stride);
  }

  AlgoCxt* context() { return context_; }

  // What the operation returned.
  void Result(int64_t value) { results_.push_back(value); }
  // Lets the calls of Expect and ExpectTrue count from here on.
  void CheckFormulas() { checks_ = true; }
  // Of the rows at `out`, `pitch` apart, element (x, y) has to become formula(x, y), or to stay if
  // that is a negative whole number; so has the rest of the buffer. Called before the operation.
  template <typename T, typename Formula>
  void Expect(const T* out, int width, int height, int64_t pitch, Formula formula) {
    if (!checks_) return;
    const auto* const first = reinterpret_cast<const uint8_t*>(out);
    ExpectBytes(first, first, 0);  // the buffer counts, even if all of it stays
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const auto value = formula(x, y);
        if constexpr (std::is_integral_v<decltype(value)>) {
          if (value < 0) continue;
        }
        const T element = static_cast<T>(value);
        ExpectBytes(first + (y * pitch + x) * int64_t{sizeof(T)}, &element, sizeof(T));
      }
    }
  }
  void ExpectTrue(bool claim) { wrong_claims_ += checks_ && !claim ? 1 : 0; }
  // What is not as expected; empty if everything is.
  std::string Difference() const;

  // The sizes and parameters that were drawn, in order.
  const std::string& notes() const { return notes_; }
  // Everything that the operation could write, one entry a buffer, then the results.
  std::vector<std::vector<uint8_t>> Outcome() const;
  bool guards_intact() const;

 private:
  int Draw(int low, int high);
  int Noted(int value);
  GuardedBuffer& NewBuffer(int64_t bytes, bool output);
  void ExpectBytes(const uint8_t* at, const void* bytes, size_t size);
  uint8_t* Floats(int64_t count, float low, float high, bool output);

  std::mt19937 random_;
  std::vector<std::unique_ptr<GuardedBuffer>> buffers_;
  std::vector<const GuardedBuffer*> outputs_;
  std::map<const GuardedBuffer*, std::vector<uint8_t>> expected_;
  bool checks_ = false;
  int wrong_claims_ = 0;
  std::vector<int64_t> results_;
  std::string notes_;
  AlgoCxt* context_;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_KERNELS_CASE_H_
