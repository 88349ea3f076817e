#pragma once

#include <string_view>

#include "platform/swiftui/color.h"

namespace glancery {

/// The colour of a hexadecimal string: "RGB", "RRGGBB" or "AARRGGBB", alpha first, whatever stands
/// around it that is no letter or digit ("#C02121").
///
/// Never fails: digits that are none end the number, and a string of any other length gives an
/// almost transparent yellow that nobody should see but a developer.
platform::Color hexColor(std::string_view text);

}  // namespace glancery
