#include "platform/foundation/text/number_text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace platform {

std::string shortestText(double value) {
  const double size = std::fabs(value);
  const bool plain = size == 0 || (size >= 1e-4 && size < 1e16);
  const auto format = plain ? std::chars_format::fixed : std::chars_format::scientific;
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, format).ptr;
  return {text.data(), end};
}

}  // namespace platform
