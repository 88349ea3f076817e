#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/bundle/bundle.h"
#include "platform/render/layout/layout.h"
#include "platform/swiftui/view_archiver.h"
#include "tests/platform/render/layout/layout_fixture.h"
#include "tests/world.h"

// Views with a host's layout and the tests' typeface.

namespace world {

inline constexpr platform::EdgeInsets kNoMargins = {};
inline constexpr platform::EdgeInsets kMargins = {16, 16, 16, 16};

/// Twice the drawn size of any face or mood.
inline std::optional<platform::Size> largePictures(std::string_view) {
  return platform::Size{80, 80};
}

inline platform::DisplayList laidOut(
    const platform::View& view,
    platform::Size widget,
    platform::EdgeInsets margins = kNoMargins,
    platform::ColorScheme scheme = platform::ColorScheme::light,
    std::optional<platform::Size> (*imageSize)(std::string_view) = largePictures) {
  const platform::Size content = {widget.width - margins.leading - margins.trailing,
                                  widget.height - margins.top - margins.bottom};
  platform::test::FixedAdvanceMeasurer text;
  const auto archived = platform::archiveView(
      view, content, {.colorScheme = scheme}, platform::NSBundle::mainBundle());
  return platform::layOut(archived, widget, margins, {text, imageSize});
}

/// Lets the main bundle translate `key` to "translated" while it exists.
class Translated {
 public:
  explicit Translated(const std::string& key) {
    writeWhole(folder_.path() / "Localizable.xcstrings",
               R"({"sourceLanguage": "es", "version": "1.0", "strings": {")" + key +
                   R"(": {"localizations": {"es": {"stringUnit": {"state": "translated",)" +
                   R"("value": "translated"}}}}}})");
    platform::NSBundle::setMainBundle(platform::NSBundle(folder_.path()));
  }
  ~Translated() { platform::NSBundle::setMainBundle(before_); }
  Translated(const Translated&) = delete;
  Translated& operator=(const Translated&) = delete;

 private:
  Folder folder_;
  platform::NSBundle before_ = platform::NSBundle::mainBundle();
};

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
