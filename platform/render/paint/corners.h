#pragma once

#include <cstdint>
#include <vector>

#include "platform/render/pixels/bitmap.h"
#include "platform/swiftui/geometry.h"

namespace platform {

/// The top left corner of a rounded rectangle as the platform rounds it: the curve starts further
/// from the corner than an arc's would and bends in gradually, so that no edge shows where it ends.
///
/// A superellipse |x/a|^n + |y/a|^n = 1 over a square of side `reach`, with the exponent at which
/// its middle lies where that of a circular arc of `radius` does.
struct ContinuousCorner {
  double reach = 0;
  double exponent = 2;

  /// For a rectangle of that size, in whatever unit; the corners of a short side meet in its
  /// middle.
  static ContinuousCorner of(double radius, Size rectangle);

  /// How far the curve lies from the left edge at a distance from the top edge.
  double inset(double fromTop) const;

  /// The curve's point at `turn`, 0 at the left edge to 1 at the top edge, evenly along the curve.
  Point point(double turn) const;

  friend bool operator==(const ContinuousCorner&, const ContinuousCorner&) = default;
};

/// Clips the bitmap to its rounded rectangle; `radius` in pixels.
class CornerClip {
 public:
  void apply(Bitmap& bitmap, double radius);

 private:
  /// The corner that the coverage is of: the same on pictures of many sizes.
  ContinuousCorner corner_;
  /// Coverage of the corner's square, 0 to 255, `side_` pixels a row.
  std::vector<std::uint8_t> coverage_;
  int side_ = 0;
};

}  // namespace platform
