/* A host in plain C: opens a handle and closes it. The engine and its network must be found. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <vantro/vantro.h>

static void* Alloc(uint32_t size, const char* name, int32_t zero) {
  (void)name;
  (void)zero;
  return malloc(size);
}

static void Free(void* block, const char* name, int32_t zero) {
  (void)name;
  (void)zero;
  free(block);
}

int main(void) {
  MemPool pool = {Alloc, Free};
  void* handle = NULL;
  const int32_t result = Vantro_Init(&handle, "", &pool);
  Vantro_Deinit(&handle);
  printf("opening a handle of the installed library: %d\n", (int)result);
  return result == 0 ? 0 : 1;
}
