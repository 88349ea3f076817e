#pragma once

#include <expected>
#include <string>

#include "platform/swiftui/color_scheme.h"
#include "platform/swiftui/geometry.h"

namespace platform {

/// How a widget's picture is made from its display list.
struct PictureOptions {
  /// Pixels a point, 1 to 4.
  double scale = 3;
  ColorScheme scheme = ColorScheme::light;
  /// Radius of the continuous corners that the picture is clipped to, in points; 0 leaves it
  /// square.
  double cornerRadius = 0;
};

/// Refuses a size or scale that no picture has; the error says which.
std::expected<void, std::string> checkPicture(Size size, const PictureOptions& options);

}  // namespace platform
