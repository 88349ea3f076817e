#include "platform/support/utf8.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>

// ICU's macros narrow integers.
#pragma GCC diagnostic ignored "-Wconversion"

namespace platform {

std::optional<char32_t> takeFirstCodePoint(std::string_view& text) {
  const auto length = static_cast<int>(std::min<std::size_t>(text.size(), U8_MAX_LENGTH));
  int taken = 0;
  UChar32 point = 0;
  U8_NEXT(text.data(), taken, length, point);
  text.remove_prefix(static_cast<std::size_t>(taken));
  return point < 0 ? std::nullopt : std::optional(static_cast<char32_t>(point));
}

void appendCodePoint(std::string& text, char32_t point) {
  std::array<char, U8_MAX_LENGTH> bytes;
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, point);
  text.append(bytes.data(), length);
}

bool isUTF8(std::string_view text) {
  while (!text.empty()) {
    if (!takeFirstCodePoint(text)) {
      return false;
    }
  }
  return true;
}

std::string excerpt(std::string_view text, std::size_t limit) {
  const std::size_t whole = text.size();
  std::string out;
  while (!text.empty()) {
    if (whole - text.size() >= limit) {
      return out + "…";
    }
    appendCodePoint(out, takeFirstCodePoint(text).value_or(U'\uFFFD'));
  }
  return out;
}

}  // namespace platform
