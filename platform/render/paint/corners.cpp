#include "platform/render/paint/corners.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace platform {
namespace {

/// Where the curve starts, in radii from the corner.
constexpr double kReach = 1.53;

/// For a rectangle of that size, in any unit.
ContinuousCorner cornerOf(double radius, Size rectangle) {
  const double room = std::min(rectangle.width, rectangle.height) / 2;
  const double within = std::min(radius, room);
  ContinuousCorner corner{.reach = std::min(kReach * within, room)};
  if (corner.reach <= 0) {
    return {};
  }
  // The distance of the arc's middle from both edges.
  const double middle = within * (1 - 1 / std::numbers::sqrt2);
  corner.exponent = -std::numbers::ln2 / std::log(1 - middle / corner.reach);
  return corner;
}

/// The curve's distance from the left edge at a distance from the top edge.
double inset(const ContinuousCorner& corner, double fromTop) {
  if (fromTop >= corner.reach) {
    return 0;
  }
  const double up = (corner.reach - fromTop) / corner.reach;
  return corner.reach * (1 - std::pow(1 - std::pow(up, corner.exponent), 1 / corner.exponent));
}

/// The coverage of the pixels of a row, 0 to 255.
void addCoverage(const ContinuousCorner& corner,
                 int row,
                 int side,
                 std::vector<std::uint8_t>& out) {
  // Horizontal slices of the row; within a slice, coverage is exact.
  std::array<double, 8> insets;
  for (std::size_t slice = 0; slice < insets.size(); ++slice) {
    insets[slice] = inset(corner, row + (static_cast<double>(slice) + 0.5) / insets.size());
  }
  for (int x = 0; x < side; ++x) {
    double covered = 0;
    for (const double left : insets) {
      covered += std::clamp(x + 1 - left, 0.0, 1.0);
    }
    out.push_back(static_cast<std::uint8_t>(std::lround(covered * 255 / insets.size())));
  }
}

std::uint32_t dimmed(std::uint32_t pixel, std::uint32_t coverage) {
  // Two channels at a time; each product is divided by 255 with rounding.
  const auto pair = [coverage](std::uint32_t channels) {
    const std::uint32_t product = channels * coverage + 0x00'80'00'80;
    return ((product + ((product >> 8) & 0x00'FF'00'FF)) >> 8) & 0x00'FF'00'FF;
  };
  return pair(pixel & 0x00'FF'00'FF) | pair((pixel >> 8) & 0x00'FF'00'FF) << 8;
}

}  // namespace

std::vector<Point> roundedRectangle(Size size, double radius) {
  constexpr int kSteps = 24;
  const ContinuousCorner corner = cornerOf(radius, size);
  const auto along = [&](double share) {
    return corner.reach * (1 - std::pow(std::max(0.0, share), 2 / corner.exponent));
  };
  std::vector<Point> points;
  // Starts at the left end of the top left corner. Every second corner runs backward.
  for (int quarter = 0; quarter < 4; ++quarter) {
    const bool right = quarter == 1 || quarter == 2;
    const bool bottom = quarter >= 2;
    for (int i = 0; i <= kSteps; ++i) {
      const int step = right == bottom ? i : kSteps - i;
      const double angle = std::numbers::pi / 2 * step / kSteps;
      const double x = along(std::cos(angle));
      const double y = along(std::sin(angle));
      points.push_back({right ? size.width - x : x, bottom ? size.height - y : y});
    }
  }
  return points;
}

void CornerClip::apply(Bitmap& bitmap, double radius) {
  if (radius <= 0) {
    return;
  }
  const auto corner =
      cornerOf(radius, {static_cast<double>(bitmap.width), static_cast<double>(bitmap.height)});
  if (corner != corner_) {
    corner_ = corner;
    side_ = static_cast<int>(std::ceil(corner.reach));
    coverage_.clear();
    for (int row = 0; row < side_; ++row) {
      addCoverage(corner, row, side_, coverage_);
    }
  }
  for (int y = 0; y < side_; ++y) {
    const std::uint8_t* coverage = coverage_.data() + static_cast<std::ptrdiff_t>(y) * side_;
    for (const int row : {y, bitmap.height - 1 - y}) {
      std::uint32_t* pixels =
          bitmap.pixels.data() + static_cast<std::ptrdiff_t>(row) * bitmap.width;
      // Pixels inside the curve keep their value.
      for (int x = 0; x < side_ && coverage[x] != 255; ++x) {
        for (const int column : {x, bitmap.width - 1 - x}) {
          pixels[column] = dimmed(pixels[column], coverage[x]);
        }
      }
    }
  }
}

}  // namespace platform
