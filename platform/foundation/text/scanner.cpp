#include "platform/foundation/text/scanner.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace platform {

bool NSScanner::scanHexLongLong(std::uint64_t& value) {
  std::string_view text = rest_;
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));

  const auto startsWithDigit = [](std::string_view digits) {
    return digits.find_first_of("0123456789abcdefABCDEF") == 0;
  };
  // Without a digit after it, the zero of "0x" is the number.
  if ((text.starts_with("0x") || text.starts_with("0X")) && startsWithDigit(text.substr(2))) {
    text.remove_prefix(2);
  }
  if (!startsWithDigit(text)) {
    return false;
  }
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  if (error == std::errc::result_out_of_range) {
    value = std::numeric_limits<std::uint64_t>::max();
  }
  rest_.erase(0, static_cast<std::size_t>(end - rest_.data()));
  return true;
}

}  // namespace platform
