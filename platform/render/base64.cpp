#include "platform/render/base64.h"

#include <cstdint>

namespace platform {

std::string base64(std::string_view bytes) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::string_view group = bytes.substr(i, 3);
    std::uint32_t bits = 0;
    for (std::size_t n = 0; n < 3; ++n) {
      bits = bits << 8 | (n < group.size() ? static_cast<std::uint8_t>(group[n]) : 0);
    }
    for (std::size_t n = 0; n < 4; ++n) {
      text += n <= group.size() ? kDigits[bits >> (18 - 6 * n) & 0x3F] : '=';
    }
  }
  return text;
}

}  // namespace platform
