#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

namespace platform {

/// Lengths are in points, x to the right, y downward.
inline constexpr double infinity = std::numeric_limits<double>::infinity();

struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  Size size() const { return {width, height}; }
  friend bool operator==(const Rect&, const Rect&) = default;
};

/// The least rectangle around both.
inline Rect unite(const Rect& one, const Rect& other) {
  const double left = std::min(one.x, other.x);
  const double top = std::min(one.y, other.y);
  return {left,
          top,
          std::max(one.x + one.width, other.x + other.width) - left,
          std::max(one.y + one.height, other.y + other.height) - top};
}

/// What lies in both: nothing wide or high where they do not meet.
inline Rect intersect(const Rect& one, const Rect& other) {
  const double left = std::max(one.x, other.x);
  const double top = std::max(one.y, other.y);
  return {left,
          top,
          std::max(std::min(one.x + one.width, other.x + other.width) - left, 0.0),
          std::max(std::min(one.y + one.height, other.y + other.height) - top, 0.0)};
}

/// What a parent offers a child: a length, infinity, or none for the child's ideal length.
struct ProposedSize {
  std::optional<double> width;
  std::optional<double> height;
  friend bool operator==(const ProposedSize&, const ProposedSize&) = default;
};

/// Distances inward from each edge; negative ones reach outward.
struct EdgeInsets {
  double top = 0;
  double leading = 0;
  double bottom = 0;
  double trailing = 0;
  friend bool operator==(const EdgeInsets&, const EdgeInsets&) = default;
};

/// A set of edges, as bits.
enum class Edge : std::uint8_t {
  top = 1,
  leading = 2,
  bottom = 4,
  trailing = 8,
  horizontal = leading | trailing,
  vertical = top | bottom,
  all = horizontal | vertical,
};
constexpr bool contains(Edge set, Edge edge) {
  return (static_cast<int>(set) & static_cast<int>(edge)) == static_cast<int>(edge);
}

enum class HorizontalAlignment : std::uint8_t { leading, center, trailing };
enum class VerticalAlignment : std::uint8_t { top, center, bottom };

struct Alignment {
  HorizontalAlignment horizontal = HorizontalAlignment::center;
  VerticalAlignment vertical = VerticalAlignment::center;
  friend bool operator==(const Alignment&, const Alignment&) = default;
};

enum class Axis : std::uint8_t { horizontal, vertical };
enum class LayoutDirection : std::uint8_t { leftToRight, rightToLeft };

}  // namespace platform
