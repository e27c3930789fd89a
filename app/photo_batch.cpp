#include "app/photo_batch.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>

#include "app/contact_sheet.h"
#include "app/failure.h"
#include "app/interrupt.h"
#include "app/output_file.h"
#include "app/photo/mask_engine.h"
#include "app/photo/photo_file.h"
#include "app/photo/photo_session.h"
#include "app/photo/thumbnail.h"

namespace vantro::app {
namespace {

// Puts the file's name before the cause of a failure.
template <typename Work>
auto Named(const std::string& file, const Work& work) {
  try {
    return work();
  } catch (const RunError& error) {
    throw RunError(file + ": " + error.what());
  } catch (const std::bad_alloc&) {
    throw RunError(file + ": not enough memory");
  }
}

// Tells the user, until it is stopped, why the program goes on after an interrupt.
void AnnounceInterrupt(const std::stop_token& stop, const NoteSink& note) {
  constexpr auto kPeriod = std::chrono::milliseconds(100);
  std::mutex mutex;
  std::condition_variable_any stopped;
  std::unique_lock lock(mutex);
  while (!stopped.wait_for(lock, stop, kPeriod, [&] { return stop.stop_requested(); })) {
    if (InterruptWatch::Signal() == 0) continue;
    note("finishing the pictures in work; interrupt again to stop at once");
    return;
  }
}

// What one thread works with.
class PhotoWorker {
 public:
  PhotoWorker(const PhotoSettings& settings, bool with_masks)
      : settings_(settings), session_(settings.format) {
    if (with_masks) mask_engine_.emplace();
  }

  // Fills `result`, but for its state. Throws RunError naming the file.
  void Render(const PhotoTask& task, const NoteSink& note, PhotoResult& result) {
    OutputFile output(task.output, settings_.overwrite);
    std::optional<OutputFile> mask_output;
    if (!task.mask.empty()) mask_output.emplace(task.mask, settings_.overwrite);

    const NoteSink note_input = [&](const std::string& text) { note(task.input + ": " + text); };
    Photo photo = Named(task.input, [&] { return ReadPhoto(task.input, note_input); });
    const Raster before = settings_.compare ? photo.raster : Raster();
    Photo mask;
    const PhotoSession::FrameSink segment = [&](const FrameShape& shape, uint8_t* frame) {
      mask.raster = mask_engine_->Segment(shape, frame);
    };
    if (task.on_sheet) result.before = SheetThumbnail(photo.raster);
    result.person = Named(task.input, [&] {
      return session_.Render(photo.raster, mask_output ? segment : PhotoSession::FrameSink());
    });
    if (task.on_sheet) result.after = SheetThumbnail(photo.raster);
    if (settings_.compare) photo.raster = SideBySide(before, std::move(photo.raster));

    const NoteSink note_output = [&](const std::string& text) { note(task.output + ": " + text); };
    const Bytes file = Named(task.output, [&] {
      return EncodePhoto(std::move(photo), KindOfName(task.output).value(), note_output);
    });
    WriteBytes(file, output.working_path(), task.output);
    if (mask_output) {
      WriteBytes(EncodePhoto(std::move(mask), PhotoKind::kPng, note_output),
                 mask_output->working_path(), task.mask);
      mask_output->Commit();
    }
    output.Commit();
  }

 private:
  static Picture SheetThumbnail(const Raster& raster) {
    return Thumbnail(raster, kSheetCellWidth, kSheetCellHeight);
  }

  const PhotoSettings& settings_;
  PhotoSession session_;
  std::optional<MaskEngine> mask_engine_;
};

}  // namespace

std::vector<PhotoResult> RunPhotoBatch(const std::vector<PhotoTask>& tasks,
                                       const PhotoSettings& settings, Progress& progress) {
  const bool with_masks =
      std::ranges::any_of(tasks, [](const PhotoTask& task) { return !task.mask.empty(); });
  const size_t count = std::min(static_cast<size_t>(settings.jobs), tasks.size());
  std::vector<std::unique_ptr<PhotoWorker>> workers;
  for (size_t i = 0; i < count; ++i) {
    workers.push_back(std::make_unique<PhotoWorker>(settings, with_masks));
  }

  std::vector<PhotoResult> results(tasks.size());
  std::atomic<size_t> next{0};
  std::mutex mutex;  // of `progress` and `done`
  int64_t done = 0;
  const NoteSink note = [&](const std::string& text) {
    const std::lock_guard lock(mutex);
    progress.Note(text);
  };
  const auto work = [&](PhotoWorker& worker) {
    for (size_t i = next++; i < tasks.size() && InterruptWatch::Signal() == 0; i = next++) {
      PhotoResult& result = results[i];
      try {
        worker.Render(tasks[i], note, result);
        result.state = PhotoResult::State::kDone;
      } catch (const std::exception& error) {
        result.state = PhotoResult::State::kFailed;
        result.cause = error.what();
      }
      const std::lock_guard lock(mutex);
      if (++done == static_cast<int64_t>(tasks.size())) continue;
      progress.Update(done, static_cast<double>(done) / static_cast<double>(tasks.size()));
    }
  };
  {
    const std::jthread announcer(
        [&note](const std::stop_token& stop) { AnnounceInterrupt(stop, note); });
    std::vector<std::jthread> threads;
    for (size_t i = 1; i < count; ++i) threads.emplace_back(work, std::ref(*workers[i]));
    work(*workers[0]);
  }
  progress.Close();
  return results;
}

}  // namespace vantro::app
