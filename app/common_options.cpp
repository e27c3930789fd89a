#include "app/common_options.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "app/failure.h"
#include "app/library_log.h"

namespace vantro::app {

const CLI::Validator& NotEmpty() {
  static const CLI::Validator check(
      [](const std::string& name) {
        return name.empty() ? std::string("the name is empty; give that of a file") : std::string();
      },
      "");
  return check;
}

void AddFormatOption(CLI::App& command, FrameFormat& format) {
  command
      .add_option_function<std::string>(
          "--format",
          [&format](const std::string& name) {
            const auto* found = std::ranges::find(kFrameFormats, name, &FrameFormat::name);
            if (found == kFrameFormats.end()) {
              throw CLI::ValidationError("--format", "\"" + name + "\" is not nv21, nv12 or uyvy");
            }
            format = *found;
          },
          "Layout of the frames handed to the library (default nv21)")
      ->type_name("nv21|nv12|uyvy");
}

void AddEngineOption(CLI::App& command, std::string& engine) {
  command
      .add_option("--engine", engine,
                  "Segmentation engine to use, a library whose soname is libPlimra.so")
      ->check(NotEmpty())
      ->type_name("FILE");
}

void AddContactSheetOption(CLI::App& command, std::string& path) {
  command
      .add_option("--contact-sheet", path,
                  "Also write a PNG picture that shows some before and after the effect")
      ->check(NotEmpty())
      ->type_name("FILE.png");
}

void CheckContactSheet(const std::string& path) {
  if (!path.empty() && std::filesystem::path(path).extension() != ".png") {
    throw UsageError("--contact-sheet " + path + ": must end in .png");
  }
}

void StartLibraryLog(bool verbose) {
  if (verbose) setenv("VANTRO_LOG", "debug", 0);
  if (std::getenv("VANTRO_LOG") != nullptr) ShowLibraryLog();
}

void CheckDifferent(const std::string& input, const std::string& output, const char* name) {
  std::error_code error;
  if (std::filesystem::equivalent(input, output, error)) {
    throw UsageError(std::string(name) + " " + output + ": is the input itself");
  }
}

}  // namespace vantro::app
