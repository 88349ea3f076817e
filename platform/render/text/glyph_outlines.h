#pragma once

#include <cstdint>
#include <limits>
#include <vector>

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier, modernize-use-using): as the libraries declare them.
typedef struct _PangoLayoutLine PangoLayoutLine;
// NOLINTEND(bugprone-reserved-identifier, modernize-use-using)
}

namespace platform {

/// Coverage of pixels, 0 to 255, and the rectangle that has any.
struct Coverage {
  Coverage(int columns, int rows)
      : width(columns), height(rows), pixels(static_cast<std::size_t>(columns) * rows) {}

  int width;
  int height;
  std::vector<std::uint8_t> pixels;
  int left = std::numeric_limits<int>::max();
  int top = std::numeric_limits<int>::max();
  int right = 0;
  int bottom = 0;
};

/// Where a line is drawn, in pixels from the coverage's top left.
struct Pen {
  double x = 0;
  double baseline = 0;
  /// Pixels a point.
  double scale = 1;
};

/// Adds the line's glyphs, cut at the edges; false if one of them is no outline.
bool coverLine(const PangoLayoutLine* line, Pen pen, Coverage& coverage);

}  // namespace platform
