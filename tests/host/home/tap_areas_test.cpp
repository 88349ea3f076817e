#include "host/home/tap_areas.h"

#include <gmock/gmock.h>

#include "tests/world.h"

namespace host {
namespace {

using namespace platform;

DisplayItem image(const char* name, Rect frame, std::optional<std::string> link = {}) {
  return {.content = ImageItem{name}, .frame = frame, .link = std::move(link)};
}

DisplayItem text(std::vector<std::string> lines, Rect frame, std::optional<std::string> link = {}) {
  return {.content = TextItem{{}, std::move(lines)}, .frame = frame, .link = std::move(link)};
}

TEST(TapAreas, JoinWhatALinkHoldsWithinTheWidget) {
  const NSBundle bundle(std::string(GLANCERY_BUILD) + "/Glancery.appex");
  const DisplayList list = {.size = {100, 50},
                            .widgetURL = "app://all",
                            .items = {image("streakBg_dawn", {-3, -3, 106, 56}),
                                      text({"Hoy", "es"}, {0, 0, 50, 10}),
                                      image("well", {-5, 10, 20, 20}, "app://one"),
                                      text({"uno"}, {0, 35, 10, 30}, "app://one"),
                                      image("bad", {50, 10, 20, 20}, "app://two"),
                                      image("backdrop", {80, 10, 40, 20}, "app://three")}};
  const auto areas = tapAreas(list, bundle);
  ASSERT_EQ(areas.size(), 3u);
  EXPECT_EQ(areas[0].frame, (Rect{0, 10, 15, 40})) << "the visible part of both items";
  EXPECT_EQ(areas[0].link, "app://one");
  EXPECT_EQ(areas[0].label, bundle.localizedString("well") + " uno");
  EXPECT_EQ(areas[1].frame, (Rect{50, 10, 20, 20}));
  EXPECT_EQ(areas[2].label, "") << "a picture without words";
  EXPECT_NE(bundle.localizedString("well"), "well") << "the faces have words";
  EXPECT_EQ(
      spokenText(list, bundle),
      "Hoy es, " + bundle.localizedString("well") + ", uno, " + bundle.localizedString("bad"));
}

}  // namespace
}  // namespace host
