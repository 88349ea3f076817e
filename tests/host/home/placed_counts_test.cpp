#include "host/home/placed_counts.h"

#include <gmock/gmock.h>

#include "tests/world.h"

namespace host {
namespace {

using ::testing::HasSubstr;

TEST(PlacedCounts, AreReadAsTheyWereStoredAndDamageIsNamed) {
  const world::Folder container;
  const auto file = container.path() / "Library" / "Widgets" / "placed.json";
  EXPECT_TRUE(loadPlacedCounts(container.path())->empty()) << "none was ever changed";
  world::writeWhole(file, "");
  const platform::Dictionary counts = {{"Binnacle", 0}, {"StreakWidget", kMostPlaced}};
  storePlacedCounts(container.path(), counts);
  EXPECT_EQ(loadPlacedCounts(container.path()), counts);
  for (const char* damaged : {"", "[1]", R"({"Binnacle": 10})", R"({"Binnacle": "1"})"}) {
    world::writeWhole(file, damaged);
    EXPECT_THAT(loadPlacedCounts(container.path()).error(), HasSubstr(file.string())) << damaged;
  }
}

}  // namespace
}  // namespace host
