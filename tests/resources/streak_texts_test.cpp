#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "host/sheet/checks.h"
#include "host/sheet/phones.h"
#include "host/sheet/stage.h"
#include "host/sheet/states/states.h"
#include "platform/render/output/renderer.h"
#include "store/shared_store.h"

namespace {

using namespace host;
using namespace platform;

/// A user active on that many days up to yesterday, looking at that hour of today.
SheetState activeYesterday(std::int64_t count, int hour) {
  const std::string time = (hour < 10 ? "0" : "") + std::to_string(hour) + ":30";
  SheetState state;
  state.name = std::to_string(count) + "-days-at-" + time;
  state.now = at(time);
  state.suite = [count] {
    const double lastActive = at("2026-03-04", "18:00").timeIntervalSince1970();
    return Dictionary{
        {glancery::kStreakDataKey, record({{"count", count}, {"timestamp", lastActive}})}};
  };
  return state;
}

TEST(StreakTexts, LeaveTheNumberWholeInEveryLanguageOnEveryScreen) {
  Stage stage(GLANCERY_BUILD "/Glancery.appex");
  const auto renderer = openRenderer(stage.extension(), GLANCERY_BUILD "/system/Fonts");
  ASSERT_TRUE(renderer.has_value()) << renderer.error();
  const SheetWidget streak = {glancery::kStreakKind, {}};
  // The widest of one, two and three digits.
  for (const std::int64_t count : {0, 40, 400}) {
    for (const int hour : {4, 8, 10, 12, 14, 16, 18, 20, 22}) {
      const SheetState state = activeYesterday(count, hour);
      for (const std::string_view locale : kTranslations) {
        for (const std::string_view system : kEverySystem) {
          for (const ScreenClass& screen : screenClasses()) {
            const Shot shot = {&streak, &state, locale, &screen, ColorScheme::light, system};
            const ArchivedEntry entry = stage.entryOf(shot);
            const DisplayList list = (*renderer)->layOut(
                entry.light, screen.small, stage.settings().contentMargins(), entry.direction);
            ASSERT_EQ(list.items.size(), 4u) << shot.name();
            const auto* number = std::get_if<TextItem>(&list.items[2].content);
            ASSERT_TRUE(number) << shot.name();
            EXPECT_THAT(number->lines, ::testing::ElementsAre(std::to_string(count)))
                << shot.name();
            for (const Finding& finding : checkList(list, {})) {
              ADD_FAILURE() << shot.name() << ": " << finding.says;
            }
          }
        }
      }
    }
  }
}

}  // namespace
