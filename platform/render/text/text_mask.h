#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/render/pixels/handles.h"
#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/geometry.h"

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

/// A text's coverage as pixels, cropped to the pixels that have any.
struct TextMask {
  TextPlacement placement = {};
  /// The top left pixel, relative to the box.
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  /// 0 to 255; rows of `stride`, a multiple of 4.
  int stride = 0;
  std::vector<std::uint8_t> pixels = {};
};

/// One line of a broken text.
struct BrokenLine {
  /// Without trailing white space and line feed.
  std::string text = {};
  /// In points, the baseline from the text's top.
  double width = 0;
  double baseline = 0;
  /// The first byte in the layout's text.
  int begin = 0;
  /// In Pango's units (1024 a point).
  int height = 0;

  int end() const { return begin + static_cast<int>(text.size()); }
};

/// A text shaped and broken into lines, for drawing.
struct BrokenText {
  /// Ends with an ellipsis if lines were dropped. Null for an empty text.
  Handle<PangoLayout> layout;
  Size size;
  std::vector<BrokenLine> lines;
  /// Made by `textMask`.
  mutable std::vector<TextMask> masks;
};

/// The x of a line's left end in a box of that width, in points. As in a display list, leading is
/// the left edge, also for a line that is read from the right.
double lineStart(const BrokenLine& line, const TextPlacement& placement);

/// The text's mask at that placement, made once and kept with the text. Null if the text has a
/// glyph without an outline (a colour glyph, or the box for a character that no typeface has), or
/// is far larger than any widget; `drawLines` draws those.
///
/// Glyphs are placed to a 64th of a pixel. The drawing library would round to whole pixels, which
/// shows as uneven gaps in small tracked texts.
const TextMask* textMask(const BrokenText& text, const TextPlacement& placement);

/// Draws the lines with the context's colour and transformation, the box's top left at the origin.
void drawLines(cairo_t* context, const BrokenText& text, const TextPlacement& placement);

}  // namespace platform
