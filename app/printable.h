// Text for a terminal.
#ifndef VANTRO_APP_PRINTABLE_H_
#define VANTRO_APP_PRINTABLE_H_

#include <string>

namespace vantro::app {

// With "?" for control characters: names of files and texts inside them may hold any, and a
// terminal would obey them.
std::string Printable(std::string text);

// A line of the program's own on standard error.
void PrintMessage(const std::string& text);

}  // namespace vantro::app

#endif  // VANTRO_APP_PRINTABLE_H_
