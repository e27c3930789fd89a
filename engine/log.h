// The engine's log: lines on standard error. It is a library of its own and takes no part in the
// log of the library that loads it.
#ifndef VANTRO_ENGINE_LOG_H_
#define VANTRO_ENGINE_LOG_H_

#include <string>

namespace vantro::engine {

// Writes "libPlimra: " and the text as one line.
void LogError(const std::string& text);

}  // namespace vantro::engine

#endif  // VANTRO_ENGINE_LOG_H_
