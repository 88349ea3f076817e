#include <gtest/gtest.h>

#include <string>

#include "tests/widgets/streak/streak_shown.h"
#include "widgets/streak/streak_widget.h"

namespace glancery {
namespace {

using namespace platform;

using namespace world;

constexpr Size kWidget = {158, 158};

StreakEntry entry(std::int64_t count) {
  return {.displayStreakCount = count,
          .backgroundImageName = "square",
          .timeBasedMessageKey = "hidden",
          .flameImageName = "flame"};
}

TEST(StreakView, ShowsFlameAndNumberAloneAndCoversTheContentMarginsOnlyWhenAsked) {
  // 19 points outward from a margin of 16 leave 3 beyond every edge, which the host clips.
  EXPECT_EQ(displayListText(laidOut({entry(7), true}, kWidget, kMargins)),
            "Image \"square\" -3,-3 164x164\n"
            "Image \"flame\" 58,67 18x30\n"
            "Text \"7\" 82,60.4 18x43.2\n");
  EXPECT_EQ(displayListText(laidOut({entry(7)}, kWidget)),
            "Image \"square\" 0,0 158x158\n"
            "Image \"flame\" 58,67 18x30\n"
            "Text \"7\" 82,60.4 18x43.2\n");
}

struct MessageCase {
  const char* name;
  bool showTimeBasedText;
  std::optional<std::string> timeKey;
  StreakDisplayType type;
  std::optional<std::string> failKey;
  std::string expected;
  friend void PrintTo(const MessageCase& row, std::ostream* out) { *out << row.name; }
};

constexpr auto kSuccess = StreakDisplayType::successCounter;
constexpr auto kFail = StreakDisplayType::failMessage;

const MessageCase kMessages[] = {
    {"timeOfDayWins", true, "T", kFail, "F", "T"},
    {"failWhereTheTimeHasNoText", true, {}, kFail, "F", "F"},
    {"hiddenTimeTextShowsFail", false, "T", kFail, "F", "F"},
    {"successNeverShowsFail", true, {}, kSuccess, "F", ""},
    {"hiddenTimeTextOnSuccess", false, "T", kSuccess, {}, ""},
    {"failWithoutAKey", false, {}, kFail, {}, ""},
};

class StreakMessage : public ::testing::TestWithParam<MessageCase> {};

TEST_P(StreakMessage, StandsBesideTheCounter) {
  const MessageCase& row = GetParam();
  StreakEntry shown = {.backgroundImageName = "square", .flameImageName = "flame"};
  shown.showTimeBasedText = row.showTimeBasedText;
  shown.timeBasedMessageKey = row.timeKey;
  shown.displayType = row.type;
  shown.failMessageKey = row.failKey;
  const std::string dump = displayListText(laidOut({shown, true}, kWidget, kMargins));
  EXPECT_NE(dump.find("Text \"0\""), std::string::npos) << dump;
  EXPECT_EQ(dump.find("Text \"T\"") != std::string::npos, row.expected == "T") << dump;
  EXPECT_EQ(dump.find("Text \"F\"") != std::string::npos, row.expected == "F") << dump;
}

INSTANTIATE_TEST_SUITE_P(Entries,
                         StreakMessage,
                         ::testing::ValuesIn(kMessages),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(StreakView, TheMessageIsSmallTightAndPulledUp) {
  StreakEntry shown = entry(7);
  shown.showTimeBasedText = true;
  shown.timeBasedMessageKey = "Go on";
  const DisplayList list = laidOut({shown}, kWidget);
  const auto style = [&](std::size_t item) {
    return std::get<TextItem>(list.items.at(item).content).text;
  };
  EXPECT_EQ(style(2).font, Font::system(36, Weight::bold));
  EXPECT_EQ(style(2).color, Color::white);
  EXPECT_EQ(style(3).font, Font::system(14, Weight::semibold));
  EXPECT_EQ(style(3).tracking, -0.48);
  EXPECT_EQ(style(3).color, Color::white);
  // The row's centre line is the flame's; the message lies 2 points above it, half of its padding.
  const auto middle = [&](std::size_t item) {
    return list.items[item].frame.y + list.items[item].frame.height / 2;
  };
  EXPECT_DOUBLE_EQ(middle(1), middle(2));
  EXPECT_DOUBLE_EQ(middle(3), middle(1) - 2);
}

TEST(StreakView, ItsPictureReachesIntoTheSafeArea) {
  const ArchivedView view =
      archiveView(StreakWidgetEntryView{entry(7), false}, kWidget, {}, NSBundle::mainBundle());
  const ArchivedView& stack = view.children.at(0);
  EXPECT_EQ(stack.children.at(0).element, ArchivedView::Element(IgnoresSafeAreaModifier{}));
}

/// The content of the widget's configuration on that version of the system.
ArchivedView widgetContent(OperatingSystemVersion version) {
  const world::Container container;
  setCurrentDevice({.systemVersion = version});
  const WidgetEntry shown = Streak().body().provider->placeholder({});
  return archiveView(shown.view, {126, 126}, {}, NSBundle::mainBundle());
}

TEST(StreakWidget, BacksItselfFromVersion17OnAndAlwaysLinks) {
  const ArchivedView before = widgetContent({16, 4});
  const ArchivedView from = widgetContent({17, 0});
  for (const ArchivedView* view : {&before, &from}) {
    EXPECT_EQ(view->element, ArchivedView::Element(ArchivedWidgetURL{"quiloapp://streak"}));
  }
  const auto insets = [](const ArchivedView& view) {
    return std::get<PaddingModifier>(view.element).insets;
  };
  EXPECT_EQ(insets(before.children.front()), EdgeInsets());
  const ArchivedView& backed = from.children.front();
  ASSERT_TRUE(std::holds_alternative<ContainerBackgroundModifier>(backed.element));
  EXPECT_EQ(backed.children.at(1).element, ArchivedView::Element(ArchivedFill{Color::clear}));
  EXPECT_EQ(insets(backed.children.at(0)), (EdgeInsets{-19, -19, -19, -19}));
}

}  // namespace
}  // namespace glancery
