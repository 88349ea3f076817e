#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

/// Reads numbers off the front of a string.
class NSScanner {
 public:
  explicit NSScanner(std::string_view text) : rest_(text) {}

  /// Reads hexadecimal digits of ASCII, after ASCII's white space and an optional "0x"; too large a
  /// number reads as the largest. Without a digit it returns false and leaves `value` alone; a "0x"
  /// that no digit follows reads as its zero.
  bool scanHexLongLong(std::uint64_t& value);

 private:
  std::string rest_;
};

}  // namespace platform
