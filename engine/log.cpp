#include "engine/log.h"

#include <cstdio>

namespace vantro::engine {

void LogError(const std::string& text) {
  const std::string line = "libPlimra: " + text + "\n";
  std::fputs(line.c_str(), stderr);  // in one piece, so that threads do not mix their lines
}

}  // namespace vantro::engine
