#pragma once

#include <string>
#include <vector>

#include "platform/foundation/bundle.h"
#include "platform/render/layout.h"
#include "platform/swiftui/view_archiver.h"
#include "tests/platform/render/layout_fixture.h"

// Views of the medium family laid out as a host does, with the tests' own typeface.

namespace world {

inline constexpr platform::EdgeInsets kNoMargins = {};
inline constexpr platform::EdgeInsets kMargins = {16, 16, 16, 16};

inline platform::DisplayList laidOut(const platform::View& view,
                                     platform::Size widget,
                                     platform::EdgeInsets margins = kNoMargins,
                                     platform::ColorScheme scheme = platform::ColorScheme::light) {
  const platform::Size content = {widget.width - margins.leading - margins.trailing,
                                  widget.height - margins.top - margins.bottom};
  platform::test::FixedAdvanceMeasurer text;
  const auto archived = platform::archiveView(
      view, content, {.colorScheme = scheme}, platform::NSBundle::mainBundle());
  return platform::layOut(archived, widget, margins, {text, [](std::string_view) {
                                                        return platform::Size{40, 40};
                                                      }});
}

/// The font and colour of each text, "14 700 #873A00FF CHECKIN_TITLE".
inline std::vector<std::string> textStyles(const platform::DisplayList& list) {
  std::vector<std::string> styles;
  for (const auto& item : list.items) {
    if (const auto* text = std::get_if<platform::TextItem>(&item.content)) {
      const auto& [words, font, tracking, color, alignment] = text->text;
      const std::string fill =
          platform::displayListText({.size = {}, .items = {{platform::FillItem{color}, {}}}});
      styles.push_back(std::to_string(static_cast<int>(font.size)) + " " +
                       std::to_string(static_cast<int>(font.weight)) + " " + fill.substr(5, 9) +
                       " " + words);
    }
  }
  return styles;
}

}  // namespace world
