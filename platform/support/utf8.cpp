#include "platform/support/utf8.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace platform {

namespace {

struct Form {
  std::uint8_t leadMask;
  std::uint8_t lead;
  std::size_t length;
  char32_t smallest;
};

constexpr std::array kForms = {
    Form{0x80, 0x00, 1, 0},
    Form{0xE0, 0xC0, 2, 0x80},
    Form{0xF0, 0xE0, 3, 0x800},
    Form{0xF8, 0xF0, 4, 0x10000},
};

struct Decoded {
  char32_t codePoint;
  std::size_t length;
};

bool isContinuation(char c) {
  return (static_cast<std::uint8_t>(c) & 0xC0) == 0x80;
}

/// How many bytes of ASCII the text starts with.
std::size_t asciiLength(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t length = 0;
  for (std::uint64_t word = 0; length + sizeof word <= text.size(); length += sizeof word) {
    std::memcpy(&word, text.data() + length, sizeof word);
    if ((word & kHighBits) != 0) {
      break;
    }
  }
  while (length < text.size() && static_cast<std::uint8_t>(text[length]) < 0x80) {
    ++length;
  }
  return length;
}

/// The code point at the front, with the bytes it takes.
std::optional<Decoded> decodeFront(std::string_view text) {
  const auto lead = static_cast<std::uint8_t>(text.front());
  const auto form = std::ranges::find_if(
      kForms, [&](const Form& candidate) { return (lead & candidate.leadMask) == candidate.lead; });
  if (form == kForms.end() || text.size() < form->length) {
    return std::nullopt;
  }
  char32_t codePoint = lead & static_cast<std::uint8_t>(~form->leadMask);
  for (const char c : text.substr(1, form->length - 1)) {
    if (!isContinuation(c)) {
      return std::nullopt;
    }
    codePoint = codePoint << 6 | (static_cast<std::uint8_t>(c) & 0x3F);
  }
  const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
  if (codePoint < form->smallest || codePoint > 0x10FFFF || surrogate) {
    return std::nullopt;
  }
  return Decoded{codePoint, form->length};
}

}  // namespace

std::optional<char32_t> takeFirstCodePoint(std::string_view& text) {
  const auto decoded = decodeFront(text);
  text.remove_prefix(decoded ? decoded->length : 1);
  return decoded.transform([](const Decoded& found) { return found.codePoint; });
}

std::optional<char32_t> takeLastCodePoint(std::string_view& text) {
  for (std::size_t length = 1; length <= std::min<std::size_t>(4, text.size()); ++length) {
    const auto decoded = decodeFront(text.substr(text.size() - length));
    if (decoded && decoded->length == length) {
      text.remove_suffix(length);
      return decoded->codePoint;
    }
  }
  text.remove_suffix(1);
  return std::nullopt;
}

void appendCodePoint(std::string& text, char32_t point) {
  const auto append = [&text](char32_t byte) {
    text.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
  };
  if (point < 0x80) {
    append(point);
    return;
  }
  if (point < 0x800) {
    append(0xC0 | point >> 6);
  } else {
    if (point < 0x10000) {
      append(0xE0 | point >> 12);
    } else {
      append(0xF0 | point >> 18);
      append(0x80 | (point >> 12 & 0x3F));
    }
    append(0x80 | (point >> 6 & 0x3F));
  }
  append(0x80 | (point & 0x3F));
}

bool isUTF8(std::string_view text) {
  for (;;) {
    // Most texts are ASCII, which needs no decoding.
    text.remove_prefix(asciiLength(text));
    if (text.empty()) {
      return true;
    }
    if (!takeFirstCodePoint(text)) {
      return false;
    }
  }
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
