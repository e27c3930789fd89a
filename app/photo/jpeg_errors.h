// libjpeg's errors as exceptions.
#ifndef VANTRO_APP_PHOTO_JPEG_ERRORS_H_
#define VANTRO_APP_PHOTO_JPEG_ERRORS_H_

#include <csetjmp>
#include <cstddef>
#include <cstdio>  // jpeglib.h needs it and does not include it

extern "C" {
#include <jpeglib.h>
}

#include <string>

#include "app/failure.h"

namespace vantro::app {

struct JpegErrors {
  JpegErrors();

  jpeg_error_mgr manager;  // first, so that libjpeg's pointer to it leads back here
  std::jmp_buf escape;
  char text[JMSG_LENGTH_MAX] = "";    // of the error
  char damage[JMSG_LENGTH_MAX] = "";  // of the first warning that part of the picture is lost
};

// Runs `step`, which calls libjpeg. An error leaves it by a jump, so it must hold no object with a
// destructor while it does. Throws RunError for the error.
template <typename Step>
void RunJpeg(JpegErrors& errors, const Step& step) {
  if (setjmp(errors.escape) != 0) throw RunError("JPEG: " + std::string(errors.text));
  step();
}

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_JPEG_ERRORS_H_
