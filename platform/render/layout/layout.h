#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/render/layout/display_list.h"
#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/geometry.h"

namespace platform {

/// A text broken into lines.
struct TextLines {
  /// The width of the widest line by the height of all lines.
  Size size;
  std::vector<std::string> lines;
};

/// Breaks texts into lines. The layout knows typefaces only through it.
class TextMeasurer {
 public:
  virtual ~TextMeasurer() = default;

  /// Breaks between words, and within a word that is wider than a line, so that no line is wider
  /// than `proposal.width`; without a width or with infinity, only at line feeds. Drops lines that
  /// do not fit into `proposal.height`, but never the first; the last line then ends with an
  /// ellipsis.
  virtual TextLines breakLines(const ArchivedText& text, ProposedSize proposal) = 0;
};

/// What the layout depends on besides the view.
struct LayoutEnvironment {
  TextMeasurer& text;
  /// The natural size of an image in points, or nothing if the bundle does not have the image.
  std::function<std::optional<Size>(std::string_view name)> imageSize;
  LayoutDirection direction = LayoutDirection::leftToRight;
};

/// Lays out a widget's view by the platform's rules: a parent proposes a size, the child chooses
/// its size, the parent places the child.
///
/// The proposal is the widget's size less its content margins, and the view is centred there. A
/// container background fills the whole widget behind it. Frames are not rounded to pixels.
///
/// Pure: the same view, size and environment give the same list.
DisplayList layOut(const ArchivedView& view,
                   Size widget,
                   EdgeInsets contentMargins,
                   const LayoutEnvironment& environment);

}  // namespace platform
