#pragma once

#include <cstdint>
#include <vector>

#include "platform/render/pixels/handles.h"
#include "platform/render/text/text_breaker.h"
#include "platform/swiftui/archived_view.h"

namespace platform {

/// How a text is laid into its box for drawing.
struct TextPlacement {
  /// Pixels a point.
  double scale = 1;
  /// The box's width in points; lines are aligned in it.
  double boxWidth = 0;
  TextAlignment alignment = TextAlignment::leading;
  friend bool operator==(const TextPlacement&, const TextPlacement&) = default;
};

/// A text's coverage as pixels, cut to its ink.
struct TextMask {
  TextPlacement placement = {};
  /// The top left pixel, counted from the box's.
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  /// 0 to 255; rows of `stride`, as the drawing library wants it.
  int stride = 0;
  std::vector<std::uint8_t> pixels = {};

  /// The coverage of a pixel of the box.
  std::uint8_t at(int column, int row) const;
};

/// The x of a line's left end in a box of that width, in points. As in a display list, leading is
/// the left edge, also for a line that is read from the right.
double lineStart(const BrokenLine& line, const TextPlacement& placement);

/// The text's mask at that placement, drawn once and then kept with the text. Nothing if the text
/// has glyphs that are no outlines, colour pictures or boxes for characters without a glyph, or is
/// far larger than any widget.
///
/// Glyphs stand exactly where they were shaped to stand: to a 64th of a pixel, not on whole pixels
/// as the drawing library puts them, which shows as uneven gaps in small tracked texts.
const TextMask* textMask(const BrokenText& text, const TextPlacement& placement);

/// Draws the lines with the context's colour and transformation, the box's top left at the origin,
/// boxes and colour glyphs included.
void drawLines(cairo_t* context, const BrokenText& text, const TextPlacement& placement);

/// Adds the lines' outlines to the context's path in the same way.
void addOutlines(cairo_t* context, const BrokenText& text, const TextPlacement& placement);

}  // namespace platform
