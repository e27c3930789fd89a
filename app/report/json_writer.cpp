#include "app/report/json_writer.h"

extern "C" {
#include <libavutil/avstring.h>
}

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace vantro::app {

void JsonWriter::Text(std::string_view name, std::string_view value) {
  Name(name);
  Quoted(value);
}

void JsonWriter::Number(std::string_view name, double value) {
  Name(name);
  first_ = true;
  Item(value, 3);
}

void JsonWriter::StartList(std::string_view name) {
  Name(name);
  text_ += '[';
  first_ = true;
}

void JsonWriter::Item(double value, int decimals) {
  Separate();
  if (!std::isfinite(value)) value = 0;
  char digits[64];
  std::snprintf(digits, sizeof(digits), "%.*f", decimals, value);
  std::string number = digits;
  if (decimals > 0) {
    number.erase(number.find_last_not_of('0') + 1);
    if (number.back() == '.') number.pop_back();
  }
  text_ += number;
}

void JsonWriter::Item(std::string_view text) {
  Separate();
  Quoted(text);
}

void JsonWriter::EndList() {
  text_ += ']';
  first_ = false;
}

std::string JsonWriter::Finish() { return std::move(text_) + "}"; }

void JsonWriter::Name(std::string_view name) {
  Separate();
  Quoted(name);
  text_ += ':';
}

void JsonWriter::Separate() {
  if (!first_) text_ += ',';
  first_ = false;
}

// "<" and "&" as escapes, so that no text can end the script element it stands in. File names may
// be any bytes; what is no UTF-8 becomes U+FFFD.
void JsonWriter::Quoted(std::string_view text) {
  text_ += '"';
  const auto* at = reinterpret_cast<const uint8_t*>(text.data());
  const uint8_t* const end = at + text.size();
  while (at < end) {
    const uint8_t* const start = at;
    int32_t code = 0;
    const bool valid = av_utf8_decode(&code, &at, end, AV_UTF8_FLAG_ACCEPT_NON_CHARACTERS) >= 0;
    if (!valid || code < 0x20 || code == '"' || code == '\\' || code == '<' || code == '&') {
      char escape[16];
      std::snprintf(escape, sizeof(escape), "\\u%04x",
                    valid ? static_cast<unsigned>(code) : 0xFFFD);
      text_ += escape;
    } else {
      text_.append(start, at);
    }
  }
  text_ += '"';
}

}  // namespace vantro::app
