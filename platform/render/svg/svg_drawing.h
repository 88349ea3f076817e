#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/render/images/picture.h"

namespace platform {

/// Draws an SVG at `scale` pixels a point of its natural size, which its width and height give in
/// points, or its view box. What it refers to outside itself is not loaded. The error says what is
/// wrong with it.
std::expected<Picture, std::string> drawSVG(std::string_view svg, double scale);

}  // namespace platform
