#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

/// Reads a number from the front of a string.
class NSScanner {
 public:
  explicit NSScanner(std::string_view text) : text_(text) {}

  /// Reads ASCII hexadecimal digits after ASCII white space and an optional "0x"; a number beyond
  /// 64 bits reads as the largest. Without a digit it returns false and leaves `value` unchanged; a
  /// "0x" without a digit behind it reads as 0.
  bool scanHexLongLong(std::uint64_t& value) const;

 private:
  std::string text_;
};

}  // namespace platform
