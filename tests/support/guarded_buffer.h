// A byte buffer between inaccessible pages: its last byte touches the page behind it, and the
// bytes before it hold a pattern that check() compares.
#ifndef VANTRO_TESTS_SUPPORT_GUARDED_BUFFER_H_
#define VANTRO_TESTS_SUPPORT_GUARDED_BUFFER_H_

#include <cstddef>
#include <cstdint>

namespace vantro::test {

class GuardedBuffer {
 public:
  explicit GuardedBuffer(size_t size);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  uint8_t* data() { return data_; }
  const uint8_t* data() const { return data_; }
  size_t size() const { return size_; }
  uint8_t& operator[](size_t i) { return data_[i]; }

  // True while nothing was written between the front guard page and the buffer.
  bool front_intact() const;
  // From here on any write to the buffer faults (true) or is allowed again (false).
  void set_read_only(bool read_only);

 private:
  uint8_t* mapping_;
  size_t mapped_size_;
  uint8_t* data_;
  size_t size_;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_GUARDED_BUFFER_H_
