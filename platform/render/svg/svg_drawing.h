#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/render/images/picture.h"

namespace platform {

/// Draws an SVG at `scale` pixels a point of its natural size, which its width and height give in
/// points, or its view box. References to other files are not loaded. The error says what is wrong
/// with the SVG.
std::expected<Picture, std::string> drawSVG(std::string_view svg, double scale);

}  // namespace platform

/// `drawSVG`, as `libglancery_svg.so` exports it.
extern "C" void glanceryDrawSVG(std::string_view svg,
                                double scale,
                                std::expected<platform::Picture, std::string>& result);
