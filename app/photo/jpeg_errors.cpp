#include "app/photo/jpeg_errors.h"

extern "C" {
#include <jerror.h>
}

namespace vantro::app {
namespace {

JpegErrors& Of(j_common_ptr codec) { return *reinterpret_cast<JpegErrors*>(codec->err); }

[[noreturn]] void Escape(j_common_ptr codec) {
  JpegErrors& errors = Of(codec);
  errors.manager.format_message(codec, errors.text);
  std::longjmp(errors.escape, 1);
}

// Some warnings are of no consequence (stray bytes between markers, an odd version number).
void TakeMessage(j_common_ptr codec, int level) {
  JpegErrors& errors = Of(codec);
  if (level >= 0 || errors.damage[0] != '\0') return;
  switch (errors.manager.msg_code) {
    case JWRN_ARITH_BAD_CODE:
    case JWRN_HIT_MARKER:
    case JWRN_HUFF_BAD_CODE:
    case JWRN_JPEG_EOF:
    case JWRN_MUST_RESYNC:
      errors.manager.format_message(codec, errors.damage);
      break;
    default:
      break;
  }
}

}  // namespace

JpegErrors::JpegErrors() {
  jpeg_std_error(&manager);
  manager.error_exit = &Escape;
  manager.emit_message = &TakeMessage;
}

}  // namespace vantro::app
