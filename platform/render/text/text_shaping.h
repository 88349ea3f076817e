#pragma once

#include <limits>
#include <string>
#include <vector>

#include "platform/render/pixels/handles.h"
#include "platform/swiftui/font.h"

namespace platform {

/// A text's style as Pango wants it.
struct TextStyle {
  /// Separated by commas, best first.
  std::string families;
  double size = 0;
  Weight weight = Weight::regular;
  double tracking = 0;
};

/// One line of a layout; lengths in Pango's units (1024 a point), offsets in bytes of its text.
struct ShapedLine {
  int begin = 0;
  /// After the line's last character, trailing white space and line feed not counted.
  int end = 0;
  int width = 0;
  int height = 0;
  int baseline = 0;
};

/// The text less the white space at the end of each paragraph, which would push aligned lines out
/// of place and break onto lines of its own.
std::string withoutTrailingSpace(const std::string& text);

/// A length in Pango's units that nothing reaches.
inline constexpr int kUnlimited = std::numeric_limits<int>::max();

/// The text in that style, wrapped at `width` units, at words and inside those wider than a line;
/// an unlimited width breaks at line feeds alone.
Handle<PangoLayout> shapeText(PangoContext* context,
                              const TextStyle& style,
                              const std::string& text,
                              int width);

std::vector<ShapedLine> shapedLines(PangoLayout* layout);

/// Shapes the text of `whole`, which takes more lines at that width, so that it takes at most
/// `lines` of them, the last of which ends with an ellipsis.
Handle<PangoLayout> shapeTruncated(PangoContext* context,
                                   const TextStyle& style,
                                   PangoLayout* whole,
                                   int width,
                                   std::size_t lines);

}  // namespace platform
