// Options that several commands have.
#ifndef VANTRO_APP_COMMON_OPTIONS_H_
#define VANTRO_APP_COMMON_OPTIONS_H_

#include <CLI/CLI.hpp>
#include <string>

#include "app/frame_format.h"

namespace vantro::app {

// Refuses an empty file name.
const CLI::Validator& NotEmpty();

// --format; `format` must outlive the parsing.
void AddFormatOption(CLI::App& command, FrameFormat& format);
// --engine
void AddEngineOption(CLI::App& command, std::string& engine);

// --contact-sheet
void AddContactSheetOption(CLI::App& command, std::string& path);
// Throws UsageError when the path cannot be a sheet's.
void CheckContactSheet(const std::string& path);

// Shows the library's log when the user asks for it, by --verbose or by VANTRO_LOG.
void StartLibraryLog(bool verbose);

// Throws UsageError when `output`, called `name` in the message, is the file `input`.
void CheckDifferent(const std::string& input, const std::string& output, const char* name);

}  // namespace vantro::app

#endif  // VANTRO_APP_COMMON_OPTIONS_H_
