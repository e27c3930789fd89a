// Strings and formatting beside the C library's functions, on the kinds of line the library writes.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "bench/support/operation.h"
#include "vantro/bounded.h"

namespace vantro::bench {
namespace {

constexpr size_t kRoom = 256;

// Adds `ours` and `theirs`, functions of a buffer of kRoom bytes.
template <typename Ours, typename Theirs>
void AddPair(const std::string& operation, const std::string& peer, const std::string& shape,
             Ours ours, Theirs theirs) {
  const auto prepare = [](auto function) {
    return [function] {
      return [function, text = std::vector<char>(kRoom)]() mutable {
        benchmark::DoNotOptimize(function(text.data()));
      };
    };
  };
  Add(operation, shape, 0, prepare(ours));
  AddPeer(operation, peer, shape, prepare(theirs));
}

template <typename... Values>
void AddLine(const std::string& shape, const char* format, Values... values) {
  AddPair(
      "sprintf_s", "snprintf", shape,
      [=](char* text) { return sprintf_s(text, kRoom, format, values...); },
      [=](char* text) { return std::snprintf(text, kRoom, format, values...); });
}

using VectorFormat = int (*)(char*, size_t, const char*, va_list);

// Calls a function of an argument list.
template <VectorFormat kFormat>
int Call(char* text, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const int length = kFormat(text, kRoom, format, args);
  va_end(args);
  return length;
}

int FormatToStream(char* text, size_t room, const char* format, va_list args) {
  OutStream stream{static_cast<int>(room), text};
  return Tarvel_output_s(&stream, format, args);
}

template <VectorFormat kFormat>
void AddVectorFormat(const std::string& operation) {
  static constexpr char kLine[] = "frame %d: %dx%d in %s";
  AddPair(
      operation, "vsnprintf", "log line",
      [](char* text) { return Call<kFormat>(text, kLine, 1234, 1920, 1080, "VantroObject"); },
      [](char* text) {
        return Call<&std::vsnprintf>(text, kLine, 1234, 1920, 1080, "VantroObject");
      });
}

template <typename Write>
void AddStreamWriter(const std::string& operation, const std::string& shape, Write write) {
  Add(operation, shape, 0, [write] {
    return [write, text = std::vector<char>(kRoom)]() mutable {
      OutStream stream{static_cast<int>(kRoom), text.data()};
      int count = 0;
      write(&stream, &count);
      benchmark::DoNotOptimize(count);
    };
  });
}

const bool kAdded = [] {
  AddLine("log line", "frame %d: %dx%d in %s", 1234, 1920, 1080, "VantroObject");
  AddLine("file name", "%s%04d_%dx%d.bmp", "VantroObject", 1234, 1920, 1080);
  AddLine("padded", "%-40.40s|%10d|%#010x", "VantroObject", 1920, 1234);
  AddLine("timing line", "[ %s ] cost: %10.3lf ms", "VantroObject", 12.345);
  AddVectorFormat<&vsprintf_s>("vsprintf_s");
  AddVectorFormat<&vsnprintf_helper>("vsnprintf_helper");
  AddVectorFormat<&FormatToStream>("Tarvel_output_s");

  static constexpr char kText[] = "VantroObject";
  AddPair(
      "strcpy_s", "strcpy", "12 characters",
      [](char* text) { return strcpy_s(text, kRoom, kText); },
      [](char* text) { return std::strcpy(text, kText)[0]; });
  AddPair(
      "strcat_s", "strcat", "12 characters",
      [](char* text) {
        text[0] = '\0';
        return strcat_s(text, kRoom, kText);
      },
      [](char* text) {
        text[0] = '\0';
        return std::strcat(text, kText)[0];
      });
  Add("strcpy_error", "too long", 0, [] {
    return [text = std::vector<char>(8)]() mutable {
      benchmark::DoNotOptimize(strcpy_error(text.data(), text.size(), kText));
    };
  });
  AddStreamWriter("write_char_a", "one",
                  [](OutStream* stream, int* count) { write_char_a('x', stream, count); });
  AddStreamWriter("write_multi_char_a", "40", [](OutStream* stream, int* count) {
    write_multi_char_a('x', 40, stream, count);
  });
  AddStreamWriter("write_string_a", "12 characters",
                  [](OutStream* stream, int* count) { write_string_a(kText, 12, stream, count); });
  AddStreamWriter("putWcharStrEndingZero", "4 bytes",
                  [](OutStream* stream, int* count) { *count = putWcharStrEndingZero(stream, 4); });
  return true;
}();

}  // namespace
}  // namespace vantro::bench
