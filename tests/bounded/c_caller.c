/* A caller in C. */
#include "vantro/bounded.h"
#include "vantro/thread.h"

int FormatFromC(char* text, size_t capacity);

static int32_t WriteSeven(void* argument, int32_t index) {
  *(int*)argument = 7;
  return index;
}

int FormatFromC(char* text, size_t capacity) {
  int number = 0;
  MThread_Finish(0, 0, 1, WriteSeven, &number);
  return sprintf_s(text, capacity, "%d of %s", number, "nine");
}
