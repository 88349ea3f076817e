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

/// The smallest rectangle that contains both.
inline Rect unite(const Rect& one, const Rect& other) {
  const double left = std::min(one.x, other.x);
  const double top = std::min(one.y, other.y);
  return {left,
          top,
          std::max(one.x + one.width, other.x + other.width) - left,
          std::max(one.y + one.height, other.y + other.height) - top};
}

/// The part that is in both; its width or height is 0 if they do not overlap.
inline Rect intersect(const Rect& one, const Rect& other) {
  const double left = std::max(one.x, other.x);
  const double top = std::max(one.y, other.y);
  return {left,
          top,
          std::max(std::min(one.x + one.width, other.x + other.width) - left, 0.0),
          std::max(std::min(one.y + one.height, other.y + other.height) - top, 0.0)};
}

/// What a parent proposes to a child: on each axis a length, infinity, or none for the child's
/// ideal length.
struct ProposedSize {
  std::optional<double> width;
  std::optional<double> height;
  friend bool operator==(const ProposedSize&, const ProposedSize&) = default;
};

/// Distances inward from each edge; negative ones are outward.
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

enum class Axis : std::uint8_t { horizontal, vertical };
enum class LayoutDirection : std::uint8_t { leftToRight, rightToLeft };

}  // namespace platform
