#include "app/video_command.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "app/common_options.h"
#include "app/engine_library.h"
#include "app/failure.h"
#include "app/interrupt.h"
#include "app/library_log.h"
#include "app/output_file.h"
#include "app/photo/photo_file.h"
#include "app/printable.h"
#include "app/progress.h"
#include "app/standard_output.h"
#include "app/video_job.h"

namespace vantro::app {
namespace {

constexpr int kMostThreads = 64;

constexpr char kExamples[] = R"(Examples:
  vantro video talk.mp4 grey.mp4
  vantro video talk.mov grey.mp4 --contact-sheet sheet.png
  vantro video talk.mp4 grey.mp4 --report scene.html
  vantro video talk.mp4 left.mkv --rect 0,0,640,720 --overwrite
  cat talk.mkv | vantro video - - | ffplay -

OUTPUT ends in .mp4, .m4v, .mov or .mkv (H.264, audio copied) or in .y4m (raw
frames, no audio). "-" reads standard input, or writes raw frames to standard
output.

Exit status: 0 success, 1 a failure while running, 2 wrong usage, 130 after
Ctrl-C; what was rendered until then is kept as a playable file.)";

// Four whole numbers with commas between them.
std::optional<Rect_t> ParseRect(const std::string& text) {
  int32_t numbers[4];
  const char* at = text.data();
  const char* const end = at + text.size();
  for (int i = 0; i < 4; ++i) {
    if (i > 0 && (at == end || *at++ != ',')) return std::nullopt;
    const auto [after, error] = std::from_chars(at, end, numbers[i]);
    if (error != std::errc()) return std::nullopt;
    at = after;
  }
  const auto [x, y, width, height] = numbers;
  if (at != end || x < 0 || y < 0 || width < 1 || height < 1) return std::nullopt;
  return Rect_t{.x = x, .y = y, .height = height, .width = width, .aux0 = 0, .aux1 = 0};
}

void PrintSummary(const VideoOptions& options, const VideoJob& job) {
  const LibraryTally tally = ReadLibraryTally();
  const PhaseTimes& times = job.times();
  const double wait = tally.wait_ms / 1000;
  const auto frames = static_cast<double>(job.frames());
  std::fprintf(stderr, "%s -> %s\n", Printable(options.input).c_str(),
               Printable(options.output).c_str());
  std::fprintf(stderr, "  frames               %8lld  (%dx%d)\n",
               static_cast<long long>(job.frames()), job.shape().width, job.shape().height);
  std::fprintf(stderr, "  frames with a subject%8lld\n",
               static_cast<long long>(tally.subject_frames));
  if (tally.coloured_frames < tally.subject_frames) {
    std::fprintf(stderr, "    shown grey         %8lld  (sudden changes of the picture)\n",
                 static_cast<long long>(tally.subject_frames - tally.coloured_frames));
  }
  std::fprintf(stderr, "  time                 %8.2f s  (%.1f frames/s)\n", times.total,
               times.total > 0 ? frames / times.total : 0);
  std::fprintf(stderr, "    decode             %8.2f s\n", times.decode);
  std::fprintf(stderr, "    segmentation wait  %8.2f s\n", wait);
  std::fprintf(stderr, "    effect             %8.2f s\n", std::max(times.process - wait, 0.0));
  std::fprintf(stderr, "    encode             %8.2f s\n", times.encode);
}

void ReportLibraryTroubles(const VideoOptions& options, Progress& progress) {
  for (const std::string& error : TakeLibraryErrors()) {
    // Known, and told by the note at the start: the check covers the other two layouts only.
    if (options.format.code == VANTRO_FORMAT_NV12 && error == "not support this format!!") continue;
    progress.Note("the library reported: " + error);
  }
  const int64_t failed = ReadLibraryTally().failed_segmentations;
  if (failed > 0) {
    progress.Note("the segmentation failed on " + std::to_string(failed) +
                  " frames; they were rendered with an older mask");
  }
}

void CheckReport(const VideoOptions& options) {
  const std::string ending = std::filesystem::path(options.report).extension();
  if (ending != ".html" && ending != ".htm") {
    throw UsageError("--report " + options.report + ": must end in .html");
  }
  CheckDifferent(options.input, options.report, "--report");
}

// What can be told before anything is opened.
void CheckOptions(const VideoOptions& options) {
  ContainerOf(options.output);
  CheckDifferent(options.input, options.output, "OUTPUT");
  CheckContactSheet(options.contact_sheet);
  if (!options.contact_sheet.empty()) {
    CheckDifferent(options.input, options.contact_sheet, "--contact-sheet");
  }
  if (!options.report.empty()) CheckReport(options);
}

// The files of a run; there is no video when it goes to a pipe.
struct OutputFiles {
  explicit OutputFiles(const VideoOptions& options) {
    if (options.output != "-") video.emplace(options.output, options.overwrite);
    if (!options.contact_sheet.empty()) sheet.emplace(options.contact_sheet, options.overwrite);
    if (!options.report.empty()) report.emplace(options.report, options.overwrite);
  }
  std::optional<OutputFile> video;
  std::optional<OutputFile> sheet;
  std::optional<OutputFile> report;
};

// The sheet and the report, each also when the other fails. False when one failed, which is told.
bool WriteSideFiles(const VideoOptions& options, const VideoJob& job, OutputFiles& files,
                    Progress& progress) {
  bool complete = true;
  const auto attempt = [&](std::optional<OutputFile>& file, const auto& write) {
    if (!file) return;
    try {
      write(file->working_path());
      file->Commit();
    } catch (const RunError& error) {
      progress.Note(error.what());
      complete = false;
    }
  };
  attempt(files.sheet, [&](const std::string& path) {
    job.contact_sheet()->Draw().SavePng(path, options.contact_sheet);
  });
  attempt(files.report, [&](const std::string& path) {
    const std::string page =
        job.report()->Page(options.input == "-" ? "standard input" : options.input);
    WriteBytes({page.begin(), page.end()}, path, options.report);
  });
  return complete;
}

int RunVideo(const VideoOptions& options) {
  CheckOptions(options);
  RouteFFmpegLog(options.verbose);
  StartLibraryLog(options.verbose);

  const InterruptWatch watch;
  const StandardOutput standard_output;
  std::optional<EngineLibrary> engine;
  if (!options.engine.empty()) engine.emplace(options.engine);
  Progress progress(options.verbose);
  if (options.format.code == VANTRO_FORMAT_NV12) {
    progress.Note("nv12 frames are not checked for flashes and sudden changes");
  }
  OutputFiles files(options);
  const std::string address = files.video ? "file:" + files.video->working_path()
                                          : "pipe:" + std::to_string(standard_output.descriptor());

  VideoJob job(options, address, progress);
  job.Run();
  progress.Close();
  const int signal = InterruptWatch::Signal();
  bool complete = true;
  if (job.frames() > 0) {
    // The video first: it is what took long, and must not be lost when another file fails.
    if (files.video) files.video->Commit();
    complete = WriteSideFiles(options, job, files, progress);
    ReportLibraryTroubles(options, progress);
    PrintSummary(options, job);
  }
  if (signal == 0) return complete ? 0 : kExitFailure;
  if (job.frames() == 0) throw Interrupted{signal};
  progress.Note("interrupted; the frames rendered so far were kept");
  return 128 + signal;
}

}  // namespace

void AddVideoCommand(CLI::App& program, std::function<int()>& chosen) {
  CLI::App* command = program.add_subcommand(
      "video", "Render a video: the person keeps their colours, the rest turns grey");
  const auto options = std::make_shared<VideoOptions>();
  command->add_option("INPUT", options->input, "Video to read, any kind that FFmpeg reads")
      ->required()
      ->check(NotEmpty())
      ->type_name("");
  command->add_option("OUTPUT", options->output, "Video to write")
      ->required()
      ->check(NotEmpty())
      ->type_name("");
  AddFormatOption(*command, options->format);
  command
      ->add_option_function<std::string>(
          "--rect",
          [options](const std::string& text) {
            options->rect = ParseRect(text);
            if (!options->rect) {
              throw CLI::ValidationError(
                  "--rect", "\"" + text + "\" is not X,Y,W,H: four whole numbers, W and H above 0");
            }
          },
          "Render only this rectangle of the frame, in pixels; the rest stays as it is")
      ->type_name("X,Y,W,H");
  AddEngineOption(*command, options->engine);
  AddContactSheetOption(*command, options->contact_sheet);
  command
      ->add_option(
          "--report", options->report,
          "Also write a page that plots subject, flashes, motion and times over the frames")
      ->check(NotEmpty())
      ->type_name("FILE.html");
  command
      ->add_option("--threads", options->threads,
                   "Threads of the decoder and of the encoder, up to 64; 0 (default) for one a "
                   "processor")
      ->check(CLI::Range(0, kMostThreads).description(""))
      ->type_name("N");
  command->add_flag("--overwrite", options->overwrite, "Replace files that exist already");
  command->add_flag("-v,--verbose", options->verbose,
                    "Show the log of the library and of FFmpeg on standard error");
  command->footer(kExamples);
  command->callback([options, &chosen] { chosen = [options] { return RunVideo(*options); }; });
}

}  // namespace vantro::app
