#include "platform/render/pixels/pixel_grid.h"

#include <algorithm>
#include <cmath>

namespace platform {
namespace {

/// What the drawing library's fixed-point coordinates hold.
constexpr double kFarthest = 32000;

int nearest(double pixels) {
  return static_cast<int>(std::lround(std::clamp(pixels, -kFarthest, kFarthest)));
}

}  // namespace

PixelRect snapped(const Rect& frame, double scale) {
  const int left = nearest(frame.x * scale);
  const int top = nearest(frame.y * scale);
  return {.x = left,
          .y = top,
          .width = nearest((frame.x + frame.width) * scale) - left,
          .height = nearest((frame.y + frame.height) * scale) - top};
}

int pixelLength(double points, double scale) {
  constexpr double kRoundingError = 1e-6;
  return static_cast<int>(std::ceil(points * scale - kRoundingError));
}

}  // namespace platform
