#include "app/photo/png_errors.h"

#include <cstdio>

namespace vantro::app {

void EscapePng(png_structp png, png_const_charp text) {
  auto& errors = *static_cast<PngErrors*>(png_get_error_ptr(png));
  std::snprintf(errors.text, sizeof(errors.text), "%s", text);
  std::longjmp(errors.escape, 1);
}

void IgnorePngWarning(png_structp, png_const_charp) {}

}  // namespace vantro::app
