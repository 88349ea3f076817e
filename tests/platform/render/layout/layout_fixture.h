#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/render/layout/layout.h"
#include "tests/display_list_text.h"

// Builds archived views by the names of the views they come from, and lays them out with a typeface
// in which every character is half as wide as the type size.

namespace platform::test {

inline ArchivedView node(ArchivedView::Element element, std::vector<ArchivedView> children = {}) {
  return {.element = std::move(element), .children = std::move(children)};
}

inline ArchivedView text(std::string string, double size = 10) {
  return node(ArchivedText{.text = std::move(string), .font = Font::system(size)});
}
inline ArchivedView fill(Color color = Color::black) {
  return node(ArchivedFill{color});
}
inline ArchivedView image(std::string name) {
  return node(ArchivedImage{.name = std::move(name)});
}
inline ArchivedView resizable(std::string name) {
  return node(ArchivedImage{.name = std::move(name), .resizable = true});
}
inline ArchivedView hstack(StackLayout stack, std::vector<ArchivedView> children) {
  stack.axis = Axis::horizontal;
  return node(stack, std::move(children));
}
inline ArchivedView vstack(StackLayout stack, std::vector<ArchivedView> children) {
  stack.axis = Axis::vertical;
  return node(stack, std::move(children));
}
inline ArchivedView zstack(std::vector<ArchivedView> children) {
  return node(OverlayStackLayout(), std::move(children));
}
/// Takes the proposal, but at least `width`.
inline ArchivedView atLeast(double width) {
  return zstack({node(FixedFrame{.width = width, .height = 0}, {fill(Color::clear)}), fill()});
}
inline ArchivedView padding(EdgeInsets insets, ArchivedView child) {
  return node(PaddingModifier{insets}, {std::move(child)});
}
inline ArchivedView padding(double all, ArchivedView child) {
  return padding({all, all, all, all}, std::move(child));
}
inline ArchivedView frame(FixedFrame fixed, ArchivedView child) {
  return node(fixed, {std::move(child)});
}
inline ArchivedView frame(FlexibleFrame flexible, ArchivedView child) {
  return node(flexible, {std::move(child)});
}
inline ArchivedView box(double width, double height) {
  return frame(FixedFrame{.width = width, .height = height}, fill());
}
inline ArchivedView fit(ArchivedView child, std::optional<double> ratio = {}) {
  return node(AspectRatioModifier{ratio, ContentMode::fit}, {std::move(child)});
}
inline ArchivedView filling(ArchivedView child, std::optional<double> ratio = {}) {
  return node(AspectRatioModifier{ratio, ContentMode::fill}, {std::move(child)});
}
inline ArchivedView background(ArchivedView child, ArchivedView behind) {
  return node(BackgroundModifier(), {std::move(child), std::move(behind)});
}
inline ArchivedView containerBackground(ArchivedView child, ArchivedView behind) {
  return node(ContainerBackgroundModifier{}, {std::move(child), std::move(behind)});
}
inline ArchivedView geometryReader(ArchivedView child) {
  return node(ArchivedGeometryReader{}, {std::move(child)});
}
inline ArchivedView link(std::string url, ArchivedView child) {
  return node(ArchivedLink{std::move(url)}, {std::move(child)});
}
inline ArchivedView widgetURL(std::string url, ArchivedView child) {
  return node(ArchivedWidgetURL{std::move(url)}, {std::move(child)});
}

/// Characters of half the type size and lines of 1.2 times it; ASCII texts only.
class FixedAdvanceMeasurer : public TextMeasurer {
 public:
  TextLines breakLines(const ArchivedText& text, ProposedSize proposal) override {
    ++calls;
    advance_ = text.font.size / 2;
    tracking_ = text.tracking;
    const std::size_t room = charactersIn(proposal.width.value_or(infinity));
    std::vector<std::string> lines = wrapped(text.text, room);
    const double lineHeight = text.font.size * 1.2;
    const auto fitting = static_cast<std::size_t>(
        std::clamp(std::floor(proposal.height.value_or(infinity) / lineHeight + 1e-9), 1.0, 1e6));
    const bool dropped = lines.size() > fitting;
    if (dropped) {
      lines.resize(fitting);
      lines.back().resize(std::min(lines.back().size(), room - 1));
    }
    double widest = 0;
    for (const std::string& line : lines) {
      widest = std::max(widest, width(line.size() + (dropped && &line == &lines.back() ? 1 : 0)));
    }
    if (dropped) {
      lines.back() += "…";
    }
    return {{widest, lineHeight * static_cast<double>(lines.size())}, lines};
  }

  int calls = 0;

 private:
  double width(std::size_t count) const {
    const auto n = static_cast<double>(count);
    return count == 0 ? 0 : n * advance_ + (n - 1) * tracking_;
  }

  std::size_t charactersIn(double limit) const {
    const double count = std::floor((limit + tracking_) / (advance_ + tracking_) + 1e-9);
    return static_cast<std::size_t>(std::clamp(count, 1.0, 1e6));
  }

  static std::vector<std::string> wrapped(std::string rest, std::size_t room) {
    std::vector<std::string> lines;
    while (rest.size() > room) {
      const std::size_t space = rest.rfind(' ', room);
      const bool atSpace = space != std::string::npos && space > 0;
      lines.push_back(rest.substr(0, atSpace ? space : room));
      rest.erase(0, atSpace ? space + 1 : room);
    }
    lines.push_back(rest);
    return lines;
  }

  double advance_ = 0;
  double tracking_ = 0;
};

/// The images in the bundle of these tests, by name.
inline std::optional<Size> naturalSize(std::string_view name) {
  static const std::map<std::string_view, Size> sizes = {
      {"flame", {18, 30}}, {"square", {200, 200}}, {"wide", {80, 20}}, {"tall", {20, 80}}};
  const auto found = sizes.find(name);
  return found == sizes.end() ? std::nullopt : std::optional(found->second);
}

struct World {
  Size widget = {100, 100};
  EdgeInsets margins = {};
  LayoutDirection direction = LayoutDirection::leftToRight;
};

inline DisplayList laidOut(const ArchivedView& view, const World& world = {}) {
  FixedAdvanceMeasurer measurer;
  return layOut(view,
                world.widget,
                world.margins,
                {.text = measurer, .imageSize = naturalSize, .direction = world.direction});
}

/// A view, the widget it is laid out in, and the resulting display list.
struct LayoutCase {
  std::string_view name;
  ArchivedView view;
  std::string expected;
  World world = {};
  friend void PrintTo(const LayoutCase& row, std::ostream* out) { *out << row.name; }
};

}  // namespace platform::test
