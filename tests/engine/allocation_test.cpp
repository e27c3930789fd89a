// A frame is segmented without a single allocation. This program's own malloc and its relatives
// take the place of the C library's for the engine, XNNPACK and the C++ library alike.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <vector>

#include "tests/engine/loaded_engine.h"

namespace {
thread_local int allocations = 0;
}

// Exported, or the engine would go on calling the C library's.
#pragma GCC visibility push(default)
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) {
  ++allocations;
  return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
  ++allocations;
  return __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
  ++allocations;
  return __libc_realloc(block, size);
}
void* memalign(size_t alignment, size_t size) {
  ++allocations;
  return __libc_memalign(alignment, size);
}
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** block, size_t alignment, size_t size) {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}
}
#pragma GCC visibility pop

namespace vantro::test {
namespace {

TEST(Allocations, NoneAtConstantGeometry) {
  const EngineLibrary library;  // loading it allocates, too
  const int before = allocations;
  LoadedEngine engine(VANTRO_SEG_VIDEO);
  EXPECT_GT(allocations - before, 100) << "the engine's allocations are not seen";
  const Picture picture = LoadMedia("astronaut.png");
  for (const int format : {VANTRO_FORMAT_NV21, VANTRO_FORMAT_UYVY}) {
    std::vector<uint8_t> frame = ToFrame(picture, format, picture.width);
    Found found;
    const auto process = [&] {
      return engine.Process(frame.data(), format, picture.width, picture.height, picture.width,
                            VANTRO_SEG_VIDEO, &found);
    };
    ASSERT_EQ(process(), 0);  // prepares for the geometry
    const int prepared = allocations;
    for (int i = 0; i < 3; ++i) {
      frame[static_cast<size_t>(i)] ^= 0x80;
      ASSERT_EQ(process(), 0);
    }
    EXPECT_EQ(allocations, prepared);
  }
}

}  // namespace
}  // namespace vantro::test
