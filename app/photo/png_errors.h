// libpng's errors as exceptions.
#ifndef VANTRO_APP_PHOTO_PNG_ERRORS_H_
#define VANTRO_APP_PHOTO_PNG_ERRORS_H_

#include <png.h>

#include <csetjmp>
#include <string>

#include "app/failure.h"

namespace vantro::app {

struct PngErrors {
  std::jmp_buf escape;
  char text[128] = "";
};

// For png_create_read_struct and png_create_write_struct, with a PngErrors as their error pointer.
[[noreturn]] void EscapePng(png_structp png, png_const_charp text);
void IgnorePngWarning(png_structp png, png_const_charp text);

// Runs `step`, which calls libpng. An error leaves it by a jump, so it must hold no object with a
// destructor while it does. Throws RunError for the error.
template <typename Step>
void RunPng(PngErrors& errors, const Step& step) {
  if (setjmp(errors.escape) != 0) throw RunError("PNG: " + std::string(errors.text));
  step();
}

}  // namespace vantro::app

#endif  // VANTRO_APP_PHOTO_PNG_ERRORS_H_
