#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

/// FNV-1a of 64 bits: a change in any single byte changes it.
inline std::uint64_t checksum(std::string_view bytes) {
  std::uint64_t sum = 0xCBF29CE484222325u;
  for (const char byte : bytes) {
    sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
  }
  return sum;
}

/// A short text that is the same for the same bytes and, in practice, another for others: their
/// checksum in hexadecimal digits.
inline std::string fingerprint(std::string_view bytes) {
  const std::uint64_t sum = checksum(bytes);
  std::string text;
  for (int shift = 60; shift >= 0; shift -= 4) {
    text += "0123456789abcdef"[sum >> shift & 15];
  }
  return text;
}

}  // namespace platform
