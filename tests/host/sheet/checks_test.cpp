#include "host/sheet/checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/display_list_text.h"

namespace host {
namespace {

using namespace platform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

DisplayItem text(const std::string& source, std::vector<std::string> lines, Rect frame) {
  return {.content = TextItem{{.text = source}, std::move(lines)}, .frame = frame};
}

DisplayItem line(const std::string& source, Rect frame = {10, 10, 40, 20}) {
  return text(source, {source}, frame);
}

DisplayItem link(const std::string& url, Rect frame) {
  return {.content = ImageItem{"face"}, .frame = frame, .link = url};
}

struct Case {
  const char* name;
  std::vector<DisplayItem> items;
  /// The checks with findings, in order.
  std::vector<std::string_view> expected;
  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

const Case kCases[] = {
    {"fine", {line("Hoy")}, {}},
    {"truncated", {text("Hoy respiro", {"Hoy…"}, {0, 0, 40, 20})}, {check::textTruncated}},
    {"endsInAnEllipsis", {text("Hoy respiro…", {"Hoy", "respiro…"}, {0, 0, 40, 40})}, {}},
    {"noRoomForALine", {text("Hoy", {}, {0, 0, 0, 0})}, {check::textTruncated}},
    {"numberInTwoLines", {text("365", {"36", "5"}, {0, 0, 40, 40})}, {check::wordBroken}},
    {"accentsInTwoLines", {text("añoé", {"añ", "oé"}, {0, 0, 40, 40})}, {check::wordBroken}},
    {"brokenAtSpacesAndLineFeeds", {text("a b\nc", {"a", "b", "c"}, {0, 0, 40, 60})}, {}},
    {"brokenAtAHyphen", {text("self-care", {"self-", "care"}, {0, 0, 40, 40})}, {}},
    {"lineFeedFirst", {text("\nHoy", {"", "Hoy"}, {0, 0, 40, 40})}, {}},
    {"ideographsBreakAnywhere", {text("今天我", {"今天", "我"}, {0, 0, 40, 40})}, {}},
    {"beyondTheRightEdge", {line("Hoy", {90, 10, 10.6, 20})}, {check::textOutside}},
    {"aboveTheTopEdge", {line("Hoy", {10, -0.6, 40, 20})}, {check::textOutside}},
    {"roundedToTheEdge", {line("Hoy", {60, 10, 40.4, 20})}, {}},
    {"overlappingTexts", {line("Hoy"), line("Ayer", {45, 25, 40, 20})}, {check::textsOverlap}},
    {"textsSideBySide", {line("Hoy"), line("Ayer", {50, 10, 40, 20})}, {}},
    {"textOverAnImage", {{.content = ImageItem{"sky"}, .frame = {0, 0, 100, 100}}, line("7")}, {}},
    {"missingImage",
     {{.content = ImageItem{"gone"}, .frame = {0, 0, 100, 100}}},
     {check::imageMissing}},
    {"key", {line("STREAK_TEXT_08_10")}, {check::translationMissing}},
    {"wordInUpperCase", {line("HOY")}, {}},
    {"lowerCaseWithUnderscore", {line("Snake_CASE")}, {}},
    {"smallTapAreas",
     {link("a:1", {0, 0, 40, 50}), link("a:2", {50, 0, 44, 44})},
     {check::tapAreaSmall}},
    {"tapAreaOfTwoItems", {link("a:1", {0, 0, 44, 30}), link("a:1", {0, 30, 20, 14})}, {}},
};

class Checks : public ::testing::TestWithParam<Case> {};

TEST_P(Checks, FindInTheList) {
  std::vector<std::string_view> found;
  for (const Finding& finding :
       checkList({.size = {100, 100}, .items = GetParam().items}, {"gone"})) {
    found.push_back(finding.name);
  }
  EXPECT_EQ(found, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Lists, Checks, ::testing::ValuesIn(kCases), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(Contrast, FollowsTheGuidelines) {
  const auto on = [](std::uint32_t pixel, Color color, ColorScheme scheme = ColorScheme::light) {
    return contrastOn({.width = 1, .height = 1, .pixels = {pixel}}, color, scheme, 1);
  };
  const Color grey = {119 / 255.0, 119 / 255.0, 119 / 255.0};
  EXPECT_DOUBLE_EQ(on(0xFF'FF'FF'FF, Color::black), 21);
  EXPECT_DOUBLE_EQ(on(0xFF'FF'FF'FF, Color::white), 1);
  // #777777 on white, a well-known colour just below the limit.
  EXPECT_NEAR(on(0xFF'FF'FF'FF, grey), 4.48, 0.005);
  // Half transparent white over black gives #808080.
  EXPECT_NEAR(on(0xFF'00'00'00, Color::white.withOpacity(0.5)), 5.32, 0.01);
  // Transparent pixels show the background of the scheme.
  EXPECT_DOUBLE_EQ(on(0, Color::black), 21);
  EXPECT_DOUBLE_EQ(on(0, Color::white, ColorScheme::dark), 21);
}

TEST(Contrast, IgnoresATenthOfThePixels) {
  Bitmap ground{
      .width = 10, .height = 10, .pixels = std::vector<std::uint32_t>(100, 0xFF'00'00'00)};
  std::fill_n(ground.pixels.begin(), 9, 0xFF'FF'FF'FF);
  EXPECT_DOUBLE_EQ(contrastOn(ground, Color::white, ColorScheme::light, 1), 21);
  std::fill_n(ground.pixels.begin(), 11, 0xFF'FF'FF'FF);
  EXPECT_DOUBLE_EQ(contrastOn(ground, Color::white, ColorScheme::light, 1), 1);
}

// `draw` gets everything before the text except other texts, cut to the text's frame.
TEST(Contrast, IsMeasuredBeneathTheText) {
  const DisplayItem ground = {.content = FillItem{Color::white}, .frame = {0, 0, 100, 100}};
  DisplayItem pale = line("pale", {10.5, 20.25, 30, 10});
  std::get<TextItem>(pale.content).text.color = {0.9, 0.9, 0.9};
  const DisplayItem over = {.content = FillItem{Color::black}, .frame = {0, 0, 100, 100}};
  std::vector<DisplayList> asked;
  const auto findings = checkContrast(
      {.size = {100, 100}, .items = {ground, line("dark"), pale, over}},
      ColorScheme::light,
      2,
      [&](const DisplayList& part) {
        asked.push_back(part);
        return Bitmap{
            .width = 2, .height = 2, .pixels = std::vector<std::uint32_t>(4, 0xFF'FF'FF'FF)};
      });
  ASSERT_EQ(asked.size(), 2u);
  EXPECT_EQ(displayListText(asked[1]), "Fill #FFFFFFFF -10,-20 100x100\n");
  EXPECT_EQ(asked[1].size, (Size{31, 11}));
  EXPECT_THAT(findings,
              ElementsAre(Finding{check::contrastLow, "“pale” has a contrast of 1.2 to 1"}));
  EXPECT_THAT(checkContrast({.size = {9, 9}, .items = {line("outside", {20, 0, 5, 5})}},
                            ColorScheme::light,
                            1,
                            [](const auto&) -> Bitmap { throw "outside the widget"; }),
              IsEmpty());
}

}  // namespace
}  // namespace host
