// The file routines that a host gets with the library; nothing inside calls them.
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "support/log.h"
#include "vantro/diagnostics.h"

namespace {

using vantro::kTagPlain;

constexpr size_t kLongestPath = 4096;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

bool WriteAll(File file, const void* buf, size_t size) {
  const bool written = std::fwrite(buf, 1, size, file.get()) == size;
  return std::fclose(file.release()) == 0 && written;  // the last bytes may fail only here
}

// Refuses what could climb out of the folder it names; "./" is part of "../" too.
bool IsRelative(const char* path) {
  if (std::strstr(path, "./") == nullptr) return false;
  VANTRO_LOGW(kTagPlain, "it is not absulate path");
  VANTRO_LOGW(kTagPlain, "your input filenmae contains relative signs!file: %s", path);
  return true;
}

}  // namespace

int writeFile(std::string path, const void* buf, int size) {
  if (buf == nullptr || size < 1) {
    std::printf("%s %d : input parm error!\n", "writeFile", __LINE__);
    return -1;
  }
  File file(std::fopen(path.c_str(), "wb"));
  if (file == nullptr || !WriteAll(std::move(file), buf, static_cast<size_t>(size))) {
    std::printf("%s %d : Write %s Failed!\n", "writeFile", __LINE__, path.c_str());
    return -1;
  }
  std::printf("save file: %s success!\n", path.c_str());
  return 0;
}

int writeFile(const char* path, const void* buf, int size) {
  if (path == nullptr || IsRelative(path)) return -1;
  File file(std::fopen(path, "wb"));
  if (file == nullptr) {
    VANTRO_LOGW(kTagPlain, "Debug open file Error:%s!", path);
    return -1;
  }
  const bool writable = buf != nullptr && size >= 0;
  if (!writable || !WriteAll(std::move(file), buf, static_cast<size_t>(size))) {
    VANTRO_LOGW(kTagPlain, "Debug write file Error:%s!", path);
  }
  return writable ? 0 : -1;  // a short write is only logged
}

int readFile(const char* path, void* buf, int size) {
  if (path == nullptr || IsRelative(path)) return -1;
  char resolved[PATH_MAX];
  if (std::strlen(path) > kLongestPath || realpath(path, resolved) == nullptr) return -1;
  const File file(std::fopen(resolved, "rb"));
  if (file == nullptr) {
    VANTRO_LOGW(kTagPlain, "open file Error:%s!", path);
    return -1;
  }
  const bool readable = buf != nullptr && size >= 0;
  if (!readable ||
      std::fread(buf, 1, static_cast<size_t>(size), file.get()) != static_cast<size_t>(size)) {
    VANTRO_LOGW(kTagPlain, "read file Error:%s!", path);
    return -1;
  }
  return 0;
}
