#include "platform/render/paint/corners.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace platform {
namespace {

/// Where the curve starts, in radii from the corner.
constexpr double kReach = 1.53;

/// Horizontal slices of a pixel; across, coverage is exact.
constexpr int kSlices = 8;

std::vector<std::uint8_t> cover(const ContinuousCorner& corner, int side) {
  std::vector<std::uint8_t> coverage;
  coverage.reserve(static_cast<std::size_t>(side) * side);
  for (int y = 0; y < side; ++y) {
    std::array<double, kSlices> insets;
    for (int slice = 0; slice < kSlices; ++slice) {
      insets[slice] = corner.inset(y + (slice + 0.5) / kSlices);
    }
    for (int x = 0; x < side; ++x) {
      double covered = 0;
      for (const double inset : insets) {
        covered += std::clamp(x + 1 - inset, 0.0, 1.0);
      }
      coverage.push_back(static_cast<std::uint8_t>(std::lround(covered * 255 / kSlices)));
    }
  }
  return coverage;
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

ContinuousCorner ContinuousCorner::of(double radius, Size rectangle) {
  const double room = std::min(rectangle.width, rectangle.height) / 2;
  const double within = std::min(radius, room);
  ContinuousCorner corner{.reach = std::min(kReach * within, room)};
  if (corner.reach <= 0) {
    return {};
  }
  // The arc's middle is this far from both edges, and so is the curve's.
  const double middle = within * (1 - 1 / std::numbers::sqrt2);
  corner.exponent = -std::numbers::ln2 / std::log(1 - middle / corner.reach);
  return corner;
}

double ContinuousCorner::inset(double fromTop) const {
  if (fromTop >= reach) {
    return 0;
  }
  const double up = (reach - fromTop) / reach;
  return reach * (1 - std::pow(1 - std::pow(up, exponent), 1 / exponent));
}

Point ContinuousCorner::point(double turn) const {
  const double angle = turn * std::numbers::pi / 2;
  const auto along = [this](double share) { return reach * (1 - std::pow(share, 2 / exponent)); };
  return {along(std::max(0.0, std::cos(angle))), along(std::sin(angle))};
}

void CornerClip::apply(Bitmap& bitmap, double radius) {
  if (radius <= 0) {
    return;
  }
  const auto corner = ContinuousCorner::of(
      radius, {static_cast<double>(bitmap.width), static_cast<double>(bitmap.height)});
  if (corner != corner_) {
    corner_ = corner;
    side_ = static_cast<int>(std::ceil(corner.reach));
    coverage_ = cover(corner, side_);
  }
  for (int y = 0; y < side_; ++y) {
    const std::uint8_t* coverage = coverage_.data() + static_cast<std::ptrdiff_t>(y) * side_;
    for (const int row : {y, bitmap.height - 1 - y}) {
      std::uint32_t* pixels =
          bitmap.pixels.data() + static_cast<std::ptrdiff_t>(row) * bitmap.width;
      // Inside the curve everything stays.
      for (int x = 0; x < side_ && coverage[x] != 255; ++x) {
        for (const int column : {x, bitmap.width - 1 - x}) {
          pixels[column] = dimmed(pixels[column], coverage[x]);
        }
      }
    }
  }
}

}  // namespace platform
