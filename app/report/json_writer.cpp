#include "app/report/json_writer.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace vantro::app {
namespace {

// Length of the well-formed UTF-8 sequence at the start of `text`; 0 when there is none. File names
// may be any bytes.
size_t Utf8Length(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const size_t length = byte(0) < 0x80   ? 1
                        : byte(0) < 0xC2 ? 0
                        : byte(0) < 0xE0 ? 2
                        : byte(0) < 0xF0 ? 3
                        : byte(0) < 0xF5 ? 4
                                         : 0;
  if (length > text.size()) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  if (length == 3 && ((byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xED && byte(1) > 0x9F))) {
    return 0;
  }
  if (length == 4 && ((byte(0) == 0xF0 && byte(1) < 0x90) || (byte(0) == 0xF4 && byte(1) > 0x8F))) {
    return 0;
  }
  return length;
}

}  // namespace

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

// "<" and "&" as escapes, so that no text can end the script element it stands in.
void JsonWriter::Quoted(std::string_view text) {
  text_ += '"';
  while (!text.empty()) {
    const size_t length = Utf8Length(text);
    const auto c = static_cast<unsigned char>(text[0]);
    if (length == 0) {
      text_ += "\\ufffd";
    } else if (length == 1 && (c < 0x20 || c == '"' || c == '\\' || c == '<' || c == '&')) {
      char escape[8];
      std::snprintf(escape, sizeof(escape), "\\u%04x", c);
      text_ += escape;
    } else {
      text_ += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  text_ += '"';
}

}  // namespace vantro::app
