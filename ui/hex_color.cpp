#include "ui/hex_color.h"

#include <cstdint>
#include <string>

#include "platform/foundation/text/character_set.h"
#include "platform/foundation/text/scanner.h"

namespace glancery {

using namespace platform;

Color hexColor(std::string_view text) {
  const std::string hex = trimmingNonAlphanumerics(text);
  std::uint64_t v = 0;
  NSScanner(hex).scanHexLongLong(v);

  // Counts the characters of the text, not the digits that were scanned. The topmost component is
  // not masked, so digits beyond the expected ones make it larger than 255.
  std::uint64_t a = 1, r = 1, g = 1, b = 0;
  switch (characterCount(hex)) {
    case 3:
      a = 255, r = (v >> 8) * 17, g = (v >> 4 & 15) * 17, b = (v & 15) * 17;
      break;
    case 6:
      a = 255, r = v >> 16, g = v >> 8 & 255, b = v & 255;
      break;
    case 8:
      a = v >> 24, r = v >> 16 & 255, g = v >> 8 & 255, b = v & 255;
      break;
    default:
      break;
  }
  const auto share = [](std::uint64_t component) { return static_cast<double>(component) / 255; };
  return {share(r), share(g), share(b), share(a)};
}

}  // namespace glancery
