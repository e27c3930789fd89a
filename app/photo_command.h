// The command "vantro photo".
#ifndef VANTRO_APP_PHOTO_COMMAND_H_
#define VANTRO_APP_PHOTO_COMMAND_H_

#include <CLI/CLI.hpp>
#include <functional>

namespace vantro::app {

// Adds the command to the program's command line. When it is the one the user chose, `chosen` is
// set to the function that runs it; that function returns the exit status and may throw.
void AddPhotoCommand(CLI::App& program, std::function<int()>& chosen);

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_COMMAND_H_
