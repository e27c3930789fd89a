#include "tests/faults/failing_memory.h"

#include <cstdlib>
#include <mutex>
#include <new>
#include <set>
#include <utility>

#include "vantro/tracked_alloc.h"

// The linker hands the archive's calls of malloc and free to these.
extern "C" {
void* __real_malloc(size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size);
void __wrap_free(void* block);
}

namespace vantro::test {
namespace {

std::mutex mutex;
bool counting = false;
FailingMemory::Mode fail_mode = FailingMemory::kNone;
int fail_at = 0;
int request_count = 0;
std::function<void()> first_action;
// Its nodes come from the C++ library's own operator new, which is not counted.
std::set<void*>& Live() {
  static std::set<void*> live;
  return live;
}

void* Request(size_t size) {
  std::function<void()> action;
  {
    const std::lock_guard lock(mutex);
    if (!counting) return __real_malloc(size);
    const int index = request_count++;
    if (index == 0) action = std::exchange(first_action, nullptr);
    if (fail_mode != FailingMemory::kNone &&
        (index == fail_at || (fail_mode == FailingMemory::kFromThenOn && index > fail_at))) {
      size = SIZE_MAX;
    }
  }
  if (action) action();
  if (size == SIZE_MAX) return nullptr;
  void* block = __real_malloc(size);
  const std::lock_guard lock(mutex);
  if (block != nullptr) Live().insert(block);
  return block;
}

void Release(void* block) {
  if (block != nullptr) {
    const std::lock_guard lock(mutex);
    Live().erase(block);
  }
  __real_free(block);
}

void* PoolAlloc(uint32_t size, const char* /*name*/, int32_t /*zero*/) { return Request(size); }
void PoolFree(void* block, const char* /*name*/, int32_t /*zero*/) { Release(block); }

}  // namespace

FailingMemory::FailingMemory(Mode mode, int at) {
  const std::lock_guard lock(mutex);
  fail_mode = mode;
  fail_at = at;
  request_count = 0;
  Live().clear();
  counting = true;
}

FailingMemory::~FailingMemory() {
  const std::lock_guard lock(mutex);
  counting = false;
  first_action = nullptr;
}

void FailingMemory::OnFirstRequest(std::function<void()> action) {
  const std::lock_guard lock(mutex);
  first_action = std::move(action);
}

int FailingMemory::requests() const {
  const std::lock_guard lock(mutex);
  return request_count;
}

int FailingMemory::live() const {
  const std::lock_guard lock(mutex);
  return static_cast<int>(Live().size());
}

MemPool* FailingMemory::Pool() {
  static MemPool pool = {&PoolAlloc, &PoolFree};
  return &pool;
}

void FailingMemory::SetHooks() {
  fmalloc = &PoolAlloc;
  ffree = &PoolFree;
}

}  // namespace vantro::test

void* __wrap_malloc(size_t size) { return vantro::test::Request(size); }
void __wrap_free(void* block) { vantro::test::Release(block); }

// The library's own operator new never throws; arrays are all it makes.
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return vantro::test::Request(size);
}
void* operator new[](size_t size) {
  void* block = __real_malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete[](void* block) noexcept { vantro::test::Release(block); }
void operator delete[](void* block, size_t /*size*/) noexcept { vantro::test::Release(block); }
