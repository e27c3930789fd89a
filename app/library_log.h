// What the program learns from the library's log.
//
// The library reports how long it waited for the segmentation and whether a frame held a subject
// only in its log, and only while the property vendor.qzVantro.printlog is on. The program
// therefore takes the place of the two platform entry points, as any host may: it answers that
// property with 1 and reads the lines it needs. That costs some thirty formatted lines a frame,
// in the order of twenty microseconds.
#ifndef VANTRO_APP_LIBRARY_LOG_H_
#define VANTRO_APP_LIBRARY_LOG_H_

#include <cstdint>
#include <string>
#include <vector>

#include "app/failure.h"

namespace vantro::app {

// Sums since the start of the program, or since they were last forgotten.
struct LibraryTally {
  double wait_ms = 0;                // spent waiting for a segmentation that was not finished yet
  int64_t subject_frames = 0;        // frames in which a subject was found
  int64_t coloured_frames = 0;       // of these, the ones not greyed because of a flash or a cut
  int64_t failed_segmentations = 0;  // not the one started last: its frame was fed already
};
LibraryTally ReadLibraryTally();
void ForgetLibraryTally();

// What the video handle said during its last call, about the frame that it rendered.
struct LibraryCall {
  int frame_index = 0;  // the call's number in the sequence; 0 when nothing was rendered
  int flag = 0;         // 3 shown in colour, 0 or 4 shown grey
  bool subject = false;
  // Milliseconds.
  double wait = 0;    // for the segmentation
  double roi = 0;     // looking for the subject in the mask
  double filter = 0;  // removing small regions
  double flow = 0;    // flash and motion check
  double render = 0;
  double total = 0;
};
// What was logged since the last time this was called.
LibraryCall TakeLibraryCall();

// Hands every line on to the library's own log, which VANTRO_LOG filters. Without it the program
// shows none, and reports errors itself.
void ShowLibraryLog();

// The distinct error lines since the last call.
std::vector<std::string> TakeLibraryErrors();

// A failed call of the library by this thread: `what`, the result code, and the error lines that
// the thread has logged, which are taken.
RunError LibraryError(const std::string& what, int32_t code);

// A handle that could not be opened: that too, and what it needs.
RunError CannotStart(int32_t code);

// What the photo handle found in this thread's last picture; 3 when it kept a subject's colours.
int LastPhotoFlag();

}  // namespace vantro::app

#endif  // VANTRO_APP_LIBRARY_LOG_H_
