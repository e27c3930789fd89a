// A host with functions of its own under names that the library exports too. The library must go on
// calling its own, yet take the host's log, and use the hooks that the host sets.
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "vantro/bounded.h"
#include "vantro/image.h"
#include "vantro/render.h"
#include "vantro/tracked_alloc.h"

namespace {

int lines_taken = 0;
int hook_calls = 0;

void* HookAlloc(uint32_t size, const char* /*name*/, int32_t /*zero*/) {
  ++hook_calls;
  return std::malloc(size);
}
void HookFree(void* block, const char* /*name*/, int32_t /*zero*/) { std::free(block); }

[[noreturn]] void TakenOver(const char* name) {
  std::fprintf(stderr, "the library called the host's %s\n", name);
  std::abort();
}

}  // namespace

#define HOST extern "C" __attribute__((visibility("default")))
HOST int __android_log_print(int, const char*, const char*, ...) { return ++lines_taken; }
HOST void upscale4X(const unsigned char*, unsigned char*, int, int, int, int, int) {
  TakenOver("upscale4X");
}
HOST int vsprintf_s(char*, size_t, const char*, va_list) { TakenOver("vsprintf_s"); }
HOST int vsnprintf_helper(char*, size_t, const char*, va_list) { TakenOver("vsnprintf_helper"); }

#define CHECK(condition)                                                   \
  do {                                                                     \
    if (!(condition)) {                                                    \
      std::fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #condition); \
      return 1;                                                            \
    }                                                                      \
  } while (false)

int main() {
  const std::vector<uint8_t> small(4, 100);
  std::vector<uint8_t> large(64);
  // Calls upscale4X inside the library.
  resize(small.data(), large.data(), 2, 2, 2, 8, 8);
  CHECK(large[0] == 100 && large[63] == 100);

  char text[16];
  CHECK(sprintf_s(text, sizeof(text), "%d", 42) == 2 && std::strcmp(text, "42") == 0);

  uint8_t image[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
  fmalloc = HookAlloc;
  ffree = HookFree;
  dilation(image, 3, 3, 1);
  CHECK(hook_calls == 1);

  lines_taken = 0;
  showMemTotal(1);
  CHECK(lines_taken == 1);
  std::puts("the library keeps to its own functions");
  return 0;
}
