#include "app/photo_command.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "app/common_options.h"
#include "app/contact_sheet.h"
#include "app/engine_library.h"
#include "app/failure.h"
#include "app/interrupt.h"
#include "app/output_file.h"
#include "app/photo_batch.h"
#include "app/photo_plan.h"
#include "app/printable.h"
#include "app/progress.h"
#include "app/standard_output.h"

namespace vantro::app {
namespace {

constexpr int kMostJobs = 64;
constexpr int kMostNames = 1 << 28;  // more than a command line holds

constexpr char kExamples[] = R"(Examples:
  vantro photo portrait.jpg grey.jpg
  vantro photo portrait.heic pair.png --compare
  vantro photo party/*.jpg rendered/ --jobs 4
  vantro photo portrait.jpg grey.jpg --mask-out mask.png

INPUT is a JPEG, PNG, WebP, HEIC or AVIF picture; its content tells which. OUTPUT
ends in .jpg, .png or .webp, or is a folder, which is made when it is missing;
there a picture keeps its name, and one of a kind that is not written becomes a
.jpg. The picture is turned upright; its colour profile and Exif data are kept.

Exit status: 0 success, 1 a failure with some picture (the others are rendered
all the same), 2 wrong usage, 130 after Ctrl-C; no picture is left half-written.)";

struct PhotoOptions {
  PhotoPaths paths;
  std::string engine;
  PhotoSettings settings;
  bool verbose = false;
};

// Inputs and output are one list to CLI11; the user sees two.
class PhotoHelp : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App*, std::string) const override {
    return "Usage: vantro photo [OPTIONS] INPUT... OUTPUT\n";
  }
  std::string make_positionals(const CLI::App*) const override {
    return R"(
Positionals:
  INPUT...                    Pictures to read
  OUTPUT                      Picture to write, or a folder for the pictures
)";
  }
};

void PrintSummary(const std::vector<PhotoTask>& tasks, const std::vector<PhotoResult>& results,
                  double seconds) {
  using State = PhotoResult::State;
  const auto count = [&](State state) {
    return std::ranges::count(results, state, &PhotoResult::state);
  };
  const auto done = count(State::kDone);
  if (tasks.size() == 1) {
    if (done == 1) {
      std::fprintf(stderr, "%s -> %s%s\n", Printable(tasks[0].input).c_str(),
                   Printable(tasks[0].output).c_str(),
                   results[0].person ? "" : "  (no person found: all grey)");
    } else if (count(State::kFailed) == 1) {
      PrintMessage(results[0].cause);
    }
    return;
  }
  const auto line = [](const char* name, ptrdiff_t number) {
    std::fprintf(stderr, "  %-20s %8td\n", name, number);
  };
  std::fprintf(stderr, "%zu pictures in %.2f s (%.1f pictures/s)\n", tasks.size(), seconds,
               seconds > 0 ? static_cast<double>(done) / seconds : 0);
  line("rendered", done);
  const auto without_person = std::ranges::count_if(
      results, [](const PhotoResult& r) { return r.state == State::kDone && !r.person; });
  if (without_person > 0) {
    line("  without a person", without_person);
    for (size_t i = 0; i < tasks.size(); ++i) {
      if (results[i].state != State::kDone || results[i].person) continue;
      std::fprintf(stderr, "    %s (all grey)\n", Printable(tasks[i].output).c_str());
    }
  }
  if (count(State::kNotDone) > 0) line("not begun", count(State::kNotDone));
  if (count(State::kFailed) == 0) return;
  line("failed", count(State::kFailed));
  for (const PhotoResult& result : results) {
    if (result.state != State::kFailed) continue;
    std::fprintf(stderr, "    %s\n", Printable(result.cause).c_str());
  }
}

// In capitals, which the sheet has letters for; of another UTF-8 character only its first byte.
std::string CaptionOf(const std::string& name) {
  std::string caption;
  for (const char letter : name) {
    const auto byte = static_cast<unsigned char>(letter);
    const bool continues = (byte & 0xC0) == 0x80;
    if (!continues) caption += static_cast<char>(std::toupper(byte));
  }
  return caption;
}

// Without any picture that was rendered, there is no sheet.
void WriteSheet(const std::vector<PhotoTask>& tasks, const std::vector<PhotoResult>& results,
                const std::string& path, OutputFile& file) {
  std::vector<SheetColumn> columns;
  for (size_t i = 0; i < tasks.size(); ++i) {
    if (!tasks[i].on_sheet || results[i].state != PhotoResult::State::kDone) continue;
    const std::string name = std::filesystem::path(tasks[i].input).stem().string();
    columns.push_back({CaptionOf(name), results[i].before, results[i].after});
  }
  if (columns.empty()) return;
  DrawSheet(columns).SavePng(file.working_path(), path);
  file.Commit();
}

int RunPhotos(const PhotoOptions& options) {
  PhotoPlan plan = PlanPhotos(options.paths);
  StartLibraryLog(options.verbose);
  const InterruptWatch watch;
  const StandardOutput standard_output;
  std::optional<EngineLibrary> engine;
  if (!options.engine.empty()) engine.emplace(options.engine);
  Progress progress(options.verbose, "pictures");
  MakeFolders(plan.folders);
  std::optional<OutputFile> sheet;
  if (!options.paths.contact_sheet.empty()) {
    sheet.emplace(options.paths.contact_sheet, options.settings.overwrite);
    ChooseForSheet(plan.tasks);
  }

  const Clock::time_point start = Clock::now();
  const std::vector<PhotoResult> results = RunPhotoBatch(plan.tasks, options.settings, progress);
  PrintSummary(plan.tasks, results, Seconds(Clock::now() - start));
  if (sheet) WriteSheet(plan.tasks, results, options.paths.contact_sheet, *sheet);
  if (const int signal = InterruptWatch::Signal(); signal != 0) return 128 + signal;
  const bool all_done = std::ranges::all_of(
      results, [](const PhotoResult& r) { return r.state == PhotoResult::State::kDone; });
  return all_done ? 0 : kExitFailure;
}

// All names, as they stand on the command line. CLI11 takes a name in square brackets apart, as a
// list of values, where it is told to take any number of them; this many must do.
void AddNames(CLI::App& command, std::vector<std::string>& names) {
  const auto take = [&names](const CLI::results_t& given) {
    names = given;
    return true;
  };
  command.add_option("INPUT/OUTPUT", take)
      ->expected(kMostNames)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->check(NotEmpty())
      ->type_name("");
}

}  // namespace

void AddPhotoCommand(CLI::App& program, std::function<int()>& chosen) {
  CLI::App* command = program.add_subcommand(
      "photo", "Render still pictures: the person keeps their colours, the rest turns grey");
  const auto options = std::make_shared<PhotoOptions>();
  options->settings.jobs =
      std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostJobs);
  AddNames(*command, options->paths.inputs);
  command->formatter(std::make_shared<PhotoHelp>());
  AddFormatOption(*command, options->settings.format);
  AddEngineOption(*command, options->engine);
  command
      ->add_option("--mask-out", options->paths.mask_out,
                   "Also write the mask that the engine found, as it found it; with several "
                   "pictures a folder for them")
      ->check(NotEmpty())
      ->type_name("FILE.png");
  AddContactSheetOption(*command, options->paths.contact_sheet);
  command->add_flag("--compare", options->settings.compare,
                    "Put the picture before the effect to the left of the one after it");
  command
      ->add_option("--jobs", options->settings.jobs,
                   "Pictures worked on at a time, up to 64 (default one a processor)")
      ->check(CLI::Range(1, kMostJobs).description(""))
      ->type_name("N");
  command->add_flag("--overwrite", options->settings.overwrite, "Replace files that exist already");
  command->add_flag("-v,--verbose", options->verbose,
                    "Show the log of the library on standard error");
  command->footer(kExamples);
  command->callback([options, &chosen] {
    if (options->paths.inputs.empty()) throw CLI::RequiredError("INPUT");
    options->paths.output = options->paths.inputs.back();
    options->paths.inputs.pop_back();
    if (options->paths.inputs.empty()) throw CLI::RequiredError("OUTPUT");
    chosen = [options] { return RunPhotos(*options); };
  });
}

}  // namespace vantro::app
