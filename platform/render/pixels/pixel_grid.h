#pragma once

#include "platform/swiftui/geometry.h"

namespace platform {

/// A frame on whole pixels.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

/// Each edge on the pixel boundary nearest to it, so that frames that touch in points touch in
/// pixels. Frames far outside any widget end within 32,000 pixels of its corner.
PixelRect snapped(const Rect& frame, double scale);

/// The pixels that a length takes: a part of one counts whole, a rounding error does not.
int pixelLength(double points, double scale);

}  // namespace platform
