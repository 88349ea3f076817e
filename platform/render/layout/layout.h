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
  /// The width of the widest line and the height of all lines.
  Size size;
  std::vector<std::string> lines;
};

/// Breaks texts into lines; the layout engine's only view of typefaces.
class TextMeasurer {
 public:
  virtual ~TextMeasurer() = default;

  /// Breaks at words, and inside a word that is wider than a line, so that no line is wider than
  /// `proposal.width` (none or infinity: only at line feeds). Lines that do not fit
  /// `proposal.height` are dropped, all but the first, and the last one kept ends with an ellipsis.
  virtual TextLines breakLines(const ArchivedText& text, ProposedSize proposal) = 0;
};

/// What the layout needs of the world around it.
struct LayoutEnvironment {
  TextMeasurer& text;
  /// A picture's natural size in points, or nothing for a picture that the bundle does not have.
  std::function<std::optional<Size>(std::string_view name)> imageSize;
  LayoutDirection direction = LayoutDirection::leftToRight;
};

/// Lays a widget's view out by the platform's rules: parents propose, children answer, parents
/// place.
///
/// The view is proposed the widget's size less its content margins, and centred there; a container
/// background fills the whole widget behind it. Frames are exact: snapping to pixels is drawing's.
///
/// Pure: the same view, size and environment give the same list.
DisplayList layOut(const ArchivedView& view,
                   Size widget,
                   EdgeInsets contentMargins,
                   const LayoutEnvironment& environment);

}  // namespace platform
