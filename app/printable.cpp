#include "app/printable.h"

#include <cstdio>

namespace vantro::app {

std::string Printable(std::string text) {
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x20 || byte == 0x7F) text[i] = '?';
    // In UTF-8, U+0080 to U+009F are control characters as well.
    const unsigned char next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    if (byte == 0xC2 && next >= 0x80 && next < 0xA0) text.replace(i, 2, "?");
  }
  return text;
}

void PrintMessage(const std::string& text) {
  std::fprintf(stderr, "vantro: %s\n", Printable(text).c_str());
}

}  // namespace vantro::app
