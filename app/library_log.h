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

// Sums since the start of the program.
struct LibraryTally {
  double wait_ms = 0;           // spent waiting for a segmentation that was not finished yet
  int64_t subject_frames = 0;   // frames in which a subject was found
  int64_t coloured_frames = 0;  // of these, the ones not greyed because of a flash or a cut
  int64_t failed_segmentations = 0;
};
LibraryTally ReadLibraryTally();

// Hands every line on to the library's own log, which VANTRO_LOG filters. Without it the program
// shows none, and reports errors itself.
void ShowLibraryLog();

// The distinct error lines since the last call.
std::vector<std::string> TakeLibraryErrors();

// A failed call of the library by this thread: `what`, the result code, and the error lines that
// the thread has logged, which are taken.
RunError LibraryError(const std::string& what, int32_t code);

// What the photo handle found in this thread's last picture; 3 when it kept a subject's colours.
int LastPhotoFlag();

}  // namespace vantro::app

#endif  // VANTRO_APP_LIBRARY_LOG_H_
