// Long runs of whole handles: hostile frames without growth, two handles at once, handles opened
// and closed again and again. VANTRO_ENDURANCE=full runs the full lengths; otherwise a twentieth,
// or a hundredth under the thread sanitizer.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "tests/scripted_engine/scripted_engine.h"
#include "tests/support/engine_fixture.h"
#include "tests/support/hostile_host.h"
#include "vantro/vantro.h"

#if defined(__SANITIZE_ADDRESS__)
// gcc's packages lack the sanitizer's header that declares it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace vantro::test {
namespace {

int Rounds(int full) {
  const char* length = std::getenv("VANTRO_ENDURANCE");
  if (length != nullptr && std::string(length) == "full") return full;
#if defined(__SANITIZE_THREAD__)
  return full / 100;
#else
  return full / 20;
#endif
}

size_t HeapBytes() {
#if defined(__SANITIZE_ADDRESS__)
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

void* HeapAlloc(uint32_t size, const char* /*name*/, int32_t /*zero*/) { return std::malloc(size); }
void HeapFree(void* block, const char* /*name*/, int32_t /*zero*/) { std::free(block); }

struct RandomSource {
  std::mt19937 random;
  int Int(int low, int high) {
    return low + static_cast<int>(random() % (static_cast<uint32_t>(high - low) + 1u));
  }
};

class Endurance : public EngineFixture {
 protected:
  void SetUp() override {
    EngineFixture::SetUp();
    script().mask_width = 24;
    script().mask_height = 20;
    script().process = [](const SegmentCall& call) { return HostileSegment(call, 24, 20); };
  }

  // `frames` frames through one handle from a pool of its own. The heap is looked at where no other
  // thread uses it.
  static void Run(bool photo, uint32_t seed, int frames, bool alone) {
    MemPool pool = {&HeapAlloc, &HeapFree};
    void* handle = nullptr;
    ASSERT_EQ((photo ? VantroPhoto_Init : Vantro_Init)(&handle, "", &pool), 0);
    RandomSource source = {std::mt19937(seed)};
    size_t settled = 0;
    {
      HostileHost<RandomSource> host(handle, photo, source);
      for (int i = 0; i < frames; ++i) {
        ASSERT_TRUE(host.Step()) << "frame " << i;
        if (i == frames / 4) settled = HeapBytes();
      }
      // Buffers come and go between frames; a leak of one block a frame would be far above this.
      if (alone) {
        EXPECT_LT(HeapBytes(), settled + (size_t{1} << 20));
      }
    }
    (photo ? VantroPhoto_Deinit : Vantro_Deinit)(&handle);
  }
};

TEST_F(Endurance, HostileFramesWithoutGrowth) {
  log_.Stop();
  Run(false, 1, Rounds(200000), true);
  Run(true, 2, Rounds(50000), true);
}

TEST_F(Endurance, TwoHandlesOnTwoThreads) {
  log_.Stop();
  std::thread other([] { Run(false, 3, Rounds(50000), false); });
  Run(false, 4, Rounds(50000), false);
  other.join();
}

TEST_F(Endurance, OpeningAndClosingLeavesNothing) {
  MemPool pool = {&HeapAlloc, &HeapFree};
  log_.Stop();
  const int threads = CountThreads();
  ptrdiff_t files = 0;
  size_t heap = 0;
  const int rounds = Rounds(10000);
  for (int i = 0; i < rounds; ++i) {
    void* video = nullptr;
    void* photo = nullptr;
    ASSERT_EQ(Vantro_Init(&video, "", &pool), 0);
    ASSERT_EQ(VantroPhoto_Init(&photo, "", &pool), 0);
    Vantro_Deinit(&video);
    VantroPhoto_Deinit(&photo);
    if (i == rounds / 2) {
      files = OpenFiles();
      heap = HeapBytes();
    }
  }
  EXPECT_TRUE(ThreadsComeDownTo(threads));
  EXPECT_EQ(OpenFiles(), files);
  EXPECT_LT(HeapBytes(), heap + (size_t{16} << 10));
}

}  // namespace
}  // namespace vantro::test
