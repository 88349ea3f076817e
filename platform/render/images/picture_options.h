#pragma once

#include "platform/swiftui/color_scheme.h"

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

}  // namespace platform
