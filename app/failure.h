// The two ways a command of the program ends badly. Both carry a message that names the file or
// option, the cause and, where there is one, the way out.
#ifndef VANTRO_APP_FAILURE_H_
#define VANTRO_APP_FAILURE_H_

#include <functional>
#include <stdexcept>
#include <string>

namespace vantro::app {

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// Something went wrong while running: exit status 1.
class RunError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The command line asks for something that makes no sense: exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Takes a remark for the user that is no failure.
using NoteSink = std::function<void(const std::string&)>;

}  // namespace vantro::app

#endif  // VANTRO_APP_FAILURE_H_
