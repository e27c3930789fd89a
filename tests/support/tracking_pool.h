// A memory pool that counts, checks names, fills fresh blocks with a pattern, and can fail.
#ifndef VANTRO_TESTS_SUPPORT_TRACKING_POOL_H_
#define VANTRO_TESTS_SUPPORT_TRACKING_POOL_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "vantro/vantro.h"

namespace vantro::test {

// The two functions of a MemPool carry no context, so there is one tracking pool at a time.
class TrackingPool {
 public:
  TrackingPool() {
    current_ = this;
    pool_ = {&Alloc, &Free};
  }
  ~TrackingPool() {
    EXPECT_TRUE(live_.empty()) << live_.size() << " blocks not released, one is \""
                               << live_.begin()->second.first << "\"";
    for (auto& [block, info] : live_) std::free(block);
    current_ = nullptr;
  }
  TrackingPool(const TrackingPool&) = delete;
  TrackingPool& operator=(const TrackingPool&) = delete;

  MemPool* get() { return &pool_; }

  // The allocation with this number (counted from 0) fails.
  void FailAt(int index) { fail_at_ = index; }
  int allocations() const { return allocations_; }
  size_t live() const { return live_.size(); }
  // "+name:size" and "-name" in order.
  std::vector<std::string> events;

 private:
  static void* Alloc(uint32_t size, const char* name, int32_t zero) {
    TrackingPool& self = *current_;
    const std::lock_guard lock(self.mutex_);
    EXPECT_EQ(zero, 0);
    if (self.allocations_++ == self.fail_at_) return nullptr;
    void* block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) return nullptr;
    std::memset(block, 1, size);  // blocks are not zeroed; the worst they can be is a subject
    self.live_[block] = {name, size};
    self.events.push_back(std::string("+").append(name).append(":").append(std::to_string(size)));
    return block;
  }
  static void Free(void* block, const char* name, int32_t zero) {
    TrackingPool& self = *current_;
    const std::lock_guard lock(self.mutex_);
    EXPECT_EQ(zero, 0);
    const auto found = self.live_.find(block);
    ASSERT_NE(found, self.live_.end()) << "released twice or foreign: " << name;
    EXPECT_EQ(found->second.first, name);
    self.live_.erase(found);
    self.events.push_back(std::string("-").append(name));
    std::free(block);
  }

  static inline TrackingPool* current_ = nullptr;
  MemPool pool_{};
  std::mutex mutex_;
  std::map<void*, std::pair<std::string, uint32_t>> live_;
  int allocations_ = 0;
  int fail_at_ = -1;
};

}  // namespace vantro::test

#endif  // VANTRO_TESTS_SUPPORT_TRACKING_POOL_H_
