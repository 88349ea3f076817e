#include "platform/foundation/text/base64.h"

#include <cstdint>

namespace platform {

namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string encodeBase64(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t start = 0; start < bytes.size(); start += 3) {
    const std::string_view group = bytes.substr(start, 3);
    std::uint32_t bits = 0;
    for (std::size_t index = 0; index < 3; ++index) {
      bits = bits << 8 | (index < group.size() ? static_cast<unsigned char>(group[index]) : 0u);
    }
    for (std::size_t index = 0; index < 4; ++index) {
      text += index <= group.size() ? kAlphabet[bits >> (18 - 6 * index) & 63] : '=';
    }
  }
  return text;
}

std::optional<std::string> decodeBase64(std::string_view text) {
  if (text.size() % 4 != 0) {
    return std::nullopt;
  }
  std::string bytes;
  for (std::size_t start = 0; start < text.size(); start += 4) {
    std::string_view group = text.substr(start, 4);
    const bool last = start + 4 == text.size();
    while (last && group.ends_with('=') && group.size() > 2) {
      group.remove_suffix(1);
    }
    std::uint32_t bits = 0;
    for (std::size_t index = 0; index < 4; ++index) {
      const std::size_t value = index < group.size() ? kAlphabet.find(group[index]) : 0;
      if (value == std::string_view::npos) {
        return std::nullopt;
      }
      bits = bits << 6 | static_cast<std::uint32_t>(value);
    }
    // What the padding leaves over must be empty, or two texts would mean the same bytes.
    if ((bits & ((1u << 8 * (4 - group.size())) - 1)) != 0) {
      return std::nullopt;
    }
    for (std::size_t index = 0; index + 1 < group.size(); ++index) {
      bytes += static_cast<char>(bits >> (16 - 8 * index) & 0xFF);
    }
  }
  return bytes;
}

}  // namespace platform
