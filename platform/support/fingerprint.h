#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

/// The 64-bit FNV-1a hash. Changing a single byte always changes it.
inline std::uint64_t checksum(std::string_view bytes) {
  std::uint64_t sum = 0xCBF29CE484222325u;
  for (const char byte : bytes) {
    sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
  }
  return sum;
}

/// The checksum as 16 hexadecimal digits.
inline std::string fingerprint(std::string_view bytes) {
  const std::uint64_t sum = checksum(bytes);
  std::string text;
  for (int shift = 60; shift >= 0; shift -= 4) {
    text += "0123456789abcdef"[sum >> shift & 15];
  }
  return text;
}

}  // namespace platform
