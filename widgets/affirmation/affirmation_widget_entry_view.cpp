#include "widgets/affirmation/affirmation_widget_entry_view.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/foundation/bundle/bundle.h"
#include "platform/swiftui/stacks.h"
#include "ui/hex_color.h"

namespace glancery {

using namespace platform;

namespace {

struct Theme {
  std::string_view colorName;
  std::string_view background;
  std::string_view textColor;
};

// clang-format off
constexpr std::array kThemes = {
    Theme{"blush", "affirmationRed",    "C02121"},
    Theme{"gold",  "affirmationYellow", "D3810D"},
    Theme{"sky",   "affirmationBlue",   "106694"},
};
// clang-format on

const Theme* themeOf(const AffirmationEntry& entry) {
  const auto* theme = std::ranges::find(
      kThemes, std::string_view(entry.colorName ? *entry.colorName : ""), &Theme::colorName);
  return theme == kThemes.end() ? nullptr : theme;
}

// An unknown colour has the picture of blush, but black text.
Color textColor(const AffirmationEntry& entry) {
  const Theme* theme = themeOf(entry);
  return theme ? hexColor(theme->textColor) : Color::black;
}

// The provider's placeholder means that there is no affirmation yet.
std::string displayText(const AffirmationEntry& entry, const std::string& placeholderText) {
  const bool missing = !entry.affirmation || entry.affirmation->empty();
  if (missing || *entry.affirmation == placeholderText) {
    return NSBundle::mainBundle().localizedString("AFFIRMATION_PLACEHOLDER_NO_UID");
  }
  return *entry.affirmation;
}

}  // namespace

View affirmationBackground(const AffirmationEntry& entry) {
  const Theme* theme = themeOf(entry);
  return Image(std::string(theme ? theme->background : kThemes.front().background)).resizable();
}

View AffirmationWidgetEntryView::body() const {
  return GeometryReader([*this](const GeometryProxy& geometry) -> View {
    return Text::verbatim(displayText(entry, placeholderText))
        .font(Font::custom("Sentient Variable", 24))
        .tracking(-0.72)
        .foregroundColor(textColor(entry))
        .multilineTextAlignment(TextAlignment::center)
        // The narrower widget has the larger margin.
        .padding(Edge::horizontal, geometry.size.width < 300 ? 12 : 6)
        .frame({.maxWidth = infinity, .maxHeight = infinity});
  });
}

}  // namespace glancery
