#include "tests/support/failing_malloc.h"

#include <algorithm>
#include <array>

// The linker hands the archive's calls of malloc and free to these (--wrap).
extern "C" {
void* __real_malloc(size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size);
void __wrap_free(void* block);
}

namespace vantro::test {
namespace {

// No container: the tests' own containers allocate while the counting goes on.
thread_local bool counting = false;
thread_local int fail_at = -1;
thread_local int requests = 0;
thread_local std::array<size_t, 256> requested{};
thread_local std::array<void*, 256> blocks{};

}  // namespace

FailingMalloc::FailingMalloc(int fail_at_request) {
  fail_at = fail_at_request;
  requests = 0;
  blocks.fill(nullptr);
  counting = true;
}

FailingMalloc::~FailingMalloc() { counting = false; }

std::vector<size_t> FailingMalloc::sizes() const {
  return {requested.begin(), requested.begin() + requests};
}

int FailingMalloc::live() const {
  return static_cast<int>(
      std::count_if(blocks.begin(), blocks.end(), [](void* block) { return block != nullptr; }));
}

}  // namespace vantro::test

using namespace vantro::test;

void* __wrap_malloc(size_t size) {
  if (!counting || requests == static_cast<int>(requested.size())) return __real_malloc(size);
  const auto index = static_cast<size_t>(requests++);
  requested[index] = size;
  blocks[index] = static_cast<int>(index) == fail_at ? nullptr : __real_malloc(size);
  return blocks[index];
}

void __wrap_free(void* block) {
  if (block != nullptr)
    std::replace(blocks.begin(), blocks.end(), block, static_cast<void*>(nullptr));
  __real_free(block);
}
