#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/geometry.h"

namespace platform {

struct ImageItem {
  std::string name;
  friend bool operator==(const ImageItem&, const ImageItem&) = default;
};

struct TextItem {
  /// Its alignment is physical: leading is the left edge in every language.
  ArchivedText text;
  /// The last one ends with an ellipsis if lines were dropped.
  std::vector<std::string> lines;
  friend bool operator==(const TextItem&, const TextItem&) = default;
};

struct FillItem {
  Color color;
  friend bool operator==(const FillItem&, const FillItem&) = default;
};

/// Something to draw at a place in the widget.
struct DisplayItem {
  std::variant<ImageItem, TextItem, FillItem> content;
  /// In points from the widget's top left. May extend beyond the widget, which clips it.
  Rect frame;
  /// The URL that a tap opens, if the item is inside a link.
  std::optional<std::string> link = {};
  friend bool operator==(const DisplayItem&, const DisplayItem&) = default;
};

/// A laid-out widget: what to draw, back to front, and what taps open.
struct DisplayList {
  Size size;
  std::optional<std::string> widgetURL = {};
  std::vector<DisplayItem> items = {};
  friend bool operator==(const DisplayList&, const DisplayList&) = default;
};

/// Reflects a list that was laid out from left to right, for a language that runs right to left.
void reflect(DisplayList& list);

/// The list as JSON, two spaces a level: {"size", "widgetURL", "items": [...]}; colours are
/// "#RRGGBBAA", frames [x, y, width, height] rounded to a thousandth of a point.
std::string displayListJSON(const DisplayList& list);

/// The URL that a tap at that point opens: the link of the frontmost item there that has one,
/// otherwise the widget's URL. Nothing outside the widget.
std::optional<std::string> linkAt(const DisplayList& list, Point point);

}  // namespace platform
