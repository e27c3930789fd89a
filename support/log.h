// Log tags and levels of the library, and the one way a line is written.
#ifndef VANTRO_SUPPORT_LOG_H_
#define VANTRO_SUPPORT_LOG_H_

#include "platform/platform.h"

namespace vantro {

inline constexpr char kTagVideo[] = "QZA_MVANTRO";       // video handle, stages, thread pool
inline constexpr char kTagPhoto[] = "QZA_VANTRO_PHOTO";  // photo handle, second timing target
inline constexpr char kTagPlain[] = "VANTRO";            // filters, flow, blur, C-linkage resizers

}  // namespace vantro

// Macros, so that the compiler checks the arguments against each format.
#define VANTRO_LOGD(tag, ...) __android_log_print(ANDROID_LOG_DEBUG, tag, __VA_ARGS__)
#define VANTRO_LOGI(tag, ...) __android_log_print(ANDROID_LOG_INFO, tag, __VA_ARGS__)
#define VANTRO_LOGW(tag, ...) __android_log_print(ANDROID_LOG_WARN, tag, __VA_ARGS__)
#define VANTRO_LOGE(tag, ...) __android_log_print(ANDROID_LOG_ERROR, tag, __VA_ARGS__)

#endif  // VANTRO_SUPPORT_LOG_H_
