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
  /// Its alignment is already that of the page: leading is the left edge in every language.
  ArchivedText text;
  /// As broken for the item's frame; the last one ends with an ellipsis if lines were dropped.
  std::vector<std::string> lines;
  friend bool operator==(const TextItem&, const TextItem&) = default;
};

struct FillItem {
  Color color;
  friend bool operator==(const FillItem&, const FillItem&) = default;
};

/// One thing to draw, at its place in the widget.
struct DisplayItem {
  std::variant<ImageItem, TextItem, FillItem> content;
  /// In points from the widget's top left; it may reach beyond the widget, which clips it.
  Rect frame;
  /// What a tap there opens, if it lies inside a link.
  std::optional<std::string> link = {};
  friend bool operator==(const DisplayItem&, const DisplayItem&) = default;
};

/// A laid-out widget: what to draw, back to front, and what its taps open.
struct DisplayList {
  Size size;
  std::optional<std::string> widgetURL = {};
  std::vector<DisplayItem> items = {};
  friend bool operator==(const DisplayList&, const DisplayList&) = default;
};

/// The list as JSON, two spaces a level: {"size", "widgetURL", "items": [...]}; colours are
/// "#RRGGBBAA", frames [x, y, width, height] rounded to a thousandth of a point.
std::string displayListJSON(const DisplayList& list);

/// One line an item, for people and tests: `Image "flame" 12,52 18x30`, `Text "7" ...`,
/// `Fill #RRGGBBAA ...`, numbers to a hundredth without trailing zeros, then ` -> URL` where a link
/// is. A text shows each of its lines in quotes: `Text "Keep" "going" ...`.
std::string displayListText(const DisplayList& list);

/// What a tap at that point opens: the link of the frontmost item there that lies inside one, else
/// the widget's own address, else nothing. Points outside the widget open nothing.
std::optional<std::string> linkAt(const DisplayList& list, Point point);

}  // namespace platform
