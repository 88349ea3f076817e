#pragma once

#include <string_view>

#include "platform/swiftui/color.h"

namespace glancery {

/// The sRGB colour of a hexadecimal string: "RGB", "RRGGBB" or "AARRGGBB". Characters around it
/// that are neither letters nor digits are ignored ("#C02121").
///
/// Never fails: the number ends at the first character that is not a digit and is 0 without any,
/// and a string of another length gives an almost transparent yellow.
platform::Color hexColor(std::string_view text);

}  // namespace glancery
