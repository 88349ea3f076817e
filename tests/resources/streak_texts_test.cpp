#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "host/sheet/checks.h"
#include "host/sheet/state_runner.h"
#include "host/sheet/states/states.h"
#include "platform/render/output/render_module.h"
#include "store/shared_store.h"

namespace {

using namespace host;
using namespace platform;

/// A user who was active on that many days up to yesterday, at that hour of today.
SheetState activeYesterday(std::int64_t count, int hour) {
  const std::string time = (hour < 10 ? "0" : "") + std::to_string(hour) + ":30";
  const double lastActive = at("18:00", "2026-03-04").timeIntervalSince1970();
  const Dictionary suite = {
      {glancery::kStreakDataKey, record({{"count", count}, {"timestamp", lastActive}})}};
  return {std::to_string(count) + "-days-at-" + time, at(time), [suite] { return suite; }};
}

TEST(StreakTexts, LeaveTheNumberWholeInEveryLanguageOnEveryScreen) {
  const std::filesystem::path bundle = GLANCERY_BUILD "/Glancery.appex";
  StateRunner runner(bundle);
  const auto renderer =
      loadRenderer(bundle, GLANCERY_BUILD "/system/Fonts", GLANCERY_BUILD "/libglancery_render.so");
  ASSERT_TRUE(renderer.has_value()) << renderer.error();
  const SheetWidget streak = {glancery::kStreakKind, {}};
  // The widest numbers of one, two and three digits.
  for (const std::int64_t count : {0, 40, 400}) {
    for (const int hour : {4, 8, 10, 12, 14, 16, 18, 20, 22}) {
      const SheetState state = activeYesterday(count, hour);
      for (const std::string_view locale : kTranslations) {
        for (const std::string_view system : kSystems) {
          for (const ScreenClass& screen : screenClasses()) {
            const RenderJob job = {&streak, &state, locale, &screen, ColorScheme::light, system};
            const ArchivedEntry entry = runner.entryOf(job);
            const DisplayList list = (*renderer)->layOut(
                entry.light, screen.small, runner.contentMargins(), entry.direction);
            ASSERT_EQ(list.items.size(), 4u) << job.name();
            const auto* number = std::get_if<TextItem>(&list.items[2].content);
            ASSERT_TRUE(number) << job.name();
            EXPECT_THAT(number->lines, ::testing::ElementsAre(std::to_string(count))) << job.name();
            for (const Finding& finding : checkList(list, {})) {
              ADD_FAILURE() << job.name() << ": " << finding.says;
            }
          }
        }
      }
    }
  }
}

}  // namespace
