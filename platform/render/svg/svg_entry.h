#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/render/images/picture.h"

namespace platform {

/// `drawSVG`, as the SVG module exports it under `kSVGEntry`.
using SVGEntry = void(std::string_view svg,
                      double scale,
                      std::expected<Picture, std::string>& result);
inline constexpr const char* kSVGEntry = "glanceryDrawSVG";

}  // namespace platform
