/* A host in plain C: opens a handle, shows it two frames, closes it. The engine must be found. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vantro/vantro.h>

static int blocks;

static void* Alloc(uint32_t size, const char* name, int32_t zero) {
  (void)name;
  (void)zero;
  ++blocks;
  return malloc(size);
}

static void Free(void* block, const char* name, int32_t zero) {
  (void)name;
  (void)zero;
  --blocks;
  free(block);
}

int main(void) {
  enum { kWidth = 64, kHeight = 48 };
  static uint8_t frames[2][kWidth * kHeight * 3 / 2];
  MemPool pool = {Alloc, Free};
  void* handle = NULL;
  int32_t result = Vantro_Init(&handle, "", &pool);
  if (result != 0) {
    fprintf(stderr, "Vantro_Init: %d\n", (int)result);
    return 1;
  }
  for (int i = 0; i < 2; ++i) {
    Vantro_t record;
    memset(&record, 0, sizeof(record));
    memset(frames[i], 200, sizeof(frames[i]));
    record.yuv = frames[i];
    record.last_yuv = frames[1 - i];
    record.width = record.stride = kWidth;
    record.height = kHeight;
    result = Vantro_Process(handle, &record, NULL);
    if (result != 0) {
      fprintf(stderr, "Vantro_Process: %d\n", (int)result);
      return 1;
    }
  }
  Vantro_Deinit(&handle);
  if (handle != NULL || blocks != 0) {
    fprintf(stderr, "%d blocks left\n", blocks);
    return 1;
  }
  /* Nobody is in these pictures, so all of the rendered one is grey. */
  if (frames[0][kWidth * kHeight] != 128) {
    fprintf(stderr, "chroma is %d\n", frames[0][kWidth * kHeight]);
    return 1;
  }
  puts("a handle of the installed library renders");
  return 0;
}
