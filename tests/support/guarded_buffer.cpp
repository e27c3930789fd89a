#include "tests/support/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace vantro::test {
namespace {

constexpr uint8_t kPattern = 0xC3;

size_t PageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }

}  // namespace

GuardedBuffer::GuardedBuffer(size_t size) : size_(size) {
  const size_t page = PageSize();
  const size_t inner = (size + page - 1) / page * page + page;
  mapped_size_ = inner + 2 * page;
  void* mapping = mmap(nullptr, mapped_size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) throw std::bad_alloc();
  mapping_ = static_cast<uint8_t*>(mapping);
  if (mprotect(mapping_ + page, inner, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
  data_ = mapping_ + page + inner - size;
  std::memset(mapping_ + page, kPattern, inner - size);
}

GuardedBuffer::~GuardedBuffer() { munmap(mapping_, mapped_size_); }

bool GuardedBuffer::front_intact() const {
  return std::all_of(mapping_ + PageSize(), data_, [](uint8_t byte) { return byte == kPattern; });
}

void GuardedBuffer::set_read_only(bool read_only) {
  const size_t page = PageSize();
  if (mprotect(mapping_ + page, mapped_size_ - 2 * page,
               read_only ? PROT_READ : PROT_READ | PROT_WRITE) != 0) {
    throw std::bad_alloc();
  }
}

}  // namespace vantro::test
