#include "host/schedule/timeline_file.h"

#include <gmock/gmock.h>

#include <cmath>

#include "tests/world.h"

namespace host {
namespace {

using namespace platform;
using testing::HasSubstr;

StoredWidget storedWidget() {
  const Date now = Date::since1970(1.75e9 + 0.25);
  return {.device = "es_MX America/Mexico_City",
          .hostApp = "0123456789abcdef",
          .schedule = {.fetched = now,
                       .fetchedFor = {ReloadCause::hostApp, "the host app changed moods ✓"},
                       .wanted = ReloadRequest{ReloadCause::extension, "later"},
                       .lastByPolicy = now.addingTimeInterval(-60),
                       .counted = {now.addingTimeInterval(-60), now}},
          .timeline = {{{.date = now,
                         .fields = R"({"count":7})",
                         .light = {},
                         .dark = {},
                         .direction = LayoutDirection::rightToLeft}},
                       TimelineReloadPolicy::after(now)}};
}

TEST(TimelineFile, KeepsEverything) {
  const world::Folder folder;
  const auto file = timelineFile(folder.path(), "Streak/Widget ñ");
  EXPECT_EQ(file.filename(), "Streak%2FWidget%20%C3%B1.timeline");
  EXPECT_EQ(loadWidget(file).value(), std::nullopt);
  StoredWidget widget = storedWidget();
  ASSERT_TRUE(storeWidget(file, widget));
  EXPECT_EQ(loadWidget(file).value(), widget);
  widget.schedule = {.fetched = widget.schedule.fetched};
  widget.timeline.policy = TimelineReloadPolicy::never;
  ASSERT_TRUE(storeWidget(file, widget)) << "replaces the file";
  EXPECT_EQ(loadWidget(file).value(), widget);
}

TEST(TimelineFile, NamesAFileThatIsNoTimeline) {
  const world::Folder folder;
  const auto file = timelineFile(folder.path(), "Widget");
  ASSERT_TRUE(storeWidget(file, storedWidget()));
  const std::string whole = world::readWhole(file);
  for (std::size_t length = 0; length < whole.size(); length += 7) {
    world::writeWhole(file, whole.substr(0, length));
    const auto loaded = loadWidget(file);
    ASSERT_FALSE(loaded) << length;
    EXPECT_THAT(loaded.error(), HasSubstr("Widget.timeline"));
  }
  world::writeWhole(file, encode(ExtensionMessage{0, Done()}).value());
  EXPECT_FALSE(loadWidget(file)) << "another message";
  StoredWidget timeless = storedWidget();
  timeless.schedule.counted.push_back(Date::since1970(std::nan("")));
  ASSERT_TRUE(storeWidget(file, timeless));
  EXPECT_FALSE(loadWidget(file)) << "a date that is none";
  const auto refused = storeWidget("/proc/nowhere/Widget.timeline", storedWidget());
  ASSERT_FALSE(refused);
  EXPECT_THAT(refused.error(), HasSubstr("/proc/nowhere"));
}

}  // namespace
}  // namespace host
