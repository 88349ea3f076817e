#pragma once

#include <cstdint>
#include <vector>

#include "platform/render/pixels/bitmap.h"
#include "platform/swiftui/geometry.h"

namespace platform {

// The corners of a rounded rectangle as the platform rounds it: the curve starts further from the
// corner than an arc would and bends gradually, so that no edge is visible at its ends.

/// The top left corner, a superellipse |x/a|^n + |y/a|^n = 1 over a square of side `reach`. Its
/// middle is where that of a circular arc of `radius` is, which gives the exponent.
struct ContinuousCorner {
  double reach = 0;
  double exponent = 2;

  friend bool operator==(const ContinuousCorner&, const ContinuousCorner&) = default;
};

/// The rectangle's outline, clockwise, in straight pieces too short to be seen. `radius` is in the
/// unit of `size`; the corners of a short side meet in its middle.
std::vector<Point> roundedRectangle(Size size, double radius);

/// Clips the bitmap to its rounded rectangle; `radius` in pixels.
class CornerClip {
 public:
  void apply(Bitmap& bitmap, double radius);

 private:
  /// The corner of `coverage_`; pictures of many sizes have the same.
  ContinuousCorner corner_;
  /// Coverage of the corner's square, 0 to 255, `side_` pixels a row.
  std::vector<std::uint8_t> coverage_;
  int side_ = 0;
};

}  // namespace platform
