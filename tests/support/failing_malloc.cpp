#include "tests/support/failing_malloc.h"

#include <mutex>
#include <new>
#include <set>
#include <utility>

// The linker hands the archive's calls of malloc and free to these (--wrap).
extern "C" {
void* __real_malloc(size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size);
void __wrap_free(void* block);
}

namespace vantro::test {
namespace {

// What the containers take comes from the C++ library's own operator new, which is not counted.
struct Requests {
  std::mutex mutex;
  bool counting = false;
  int fail_at = -1;
  bool from_then_on = false;
  std::function<void()> first_action;
  std::vector<size_t> sizes;
  std::set<void*> live;
};

Requests& All() {
  static Requests* const all = new Requests;  // blocks are released until the very end
  return *all;
}

}  // namespace

FailingMalloc::FailingMalloc(int fail_at, bool from_then_on) {
  Requests& all = All();
  const std::lock_guard lock(all.mutex);
  all.counting = true;
  all.fail_at = fail_at;
  all.from_then_on = from_then_on;
  all.sizes.clear();
  all.live.clear();
}

FailingMalloc::~FailingMalloc() {
  const std::lock_guard lock(All().mutex);
  All().counting = false;
  All().first_action = nullptr;
}

void FailingMalloc::OnFirstRequest(std::function<void()> action) {
  const std::lock_guard lock(All().mutex);
  All().first_action = std::move(action);
}

std::vector<size_t> FailingMalloc::sizes() const {
  const std::lock_guard lock(All().mutex);
  return All().sizes;
}

int FailingMalloc::live() const {
  const std::lock_guard lock(All().mutex);
  return static_cast<int>(All().live.size());
}

}  // namespace vantro::test

using vantro::test::All;

void* __wrap_malloc(size_t size) {
  std::unique_lock lock(All().mutex);
  if (!All().counting) return __real_malloc(size);
  const int index = static_cast<int>(All().sizes.size());
  All().sizes.push_back(size);
  const int fail_at = All().fail_at;
  const bool fails = index == fail_at || (All().from_then_on && fail_at >= 0 && index > fail_at);
  if (const auto action = std::exchange(All().first_action, nullptr)) {
    lock.unlock();
    action();
    lock.lock();
  }
  void* block = fails ? nullptr : __real_malloc(size);
  if (block != nullptr) All().live.insert(block);
  return block;
}

void __wrap_free(void* block) {
  if (block != nullptr) {
    const std::lock_guard lock(All().mutex);
    All().live.erase(block);
  }
  __real_free(block);
}

// The library's own operator new never throws; arrays are all it makes.
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return __wrap_malloc(size); }
void* operator new[](size_t size) {
  void* block = __real_malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete[](void* block) noexcept { __wrap_free(block); }
void operator delete[](void* block, size_t /*size*/) noexcept { __wrap_free(block); }
