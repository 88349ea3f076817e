#include <gmock/gmock.h>

#include <set>

#include <nlohmann/json.hpp>

#include "host/drill/drill.h"
#include "tests/host/command_line.h"

namespace {

using namespace world;
using Json = nlohmann::json;
using Words = std::vector<std::string>;
using ::testing::AllOf;
using ::testing::HasSubstr;

ProgramEnd drill(Words words) {
  words.insert(words.begin(), "drill");
  return run(GLANCERY_BUILD "/glancery", words);
}

TEST(DrillCommand, ListsEachDrillOnce) {
  std::set<std::string> names;
  for (const Json& row : Json::parse(drill({"--list", "--json"}).out)) {
    EXPECT_TRUE(names.insert(row["name"]).second) << row;
  }
  EXPECT_EQ(names.size(), host::drills().size());
}

TEST(DrillCommand, APromiseThatDoesNotHoldIsStatus3) {
  ::setenv("TMPDIR", "/nonexistent", 1);  // The scratch container can't be made.
  const ProgramEnd broken = drill({"clock-back"});
  const ProgramEnd json = drill({"clock-back", "clock-forward", "--json"});
  ::unsetenv("TMPDIR");
  EXPECT_EQ(broken.status, 3);
  EXPECT_THAT(broken.out, AllOf(HasSubstr("clock-back: BROKEN."), HasSubstr("/nonexistent")));
  EXPECT_THAT(broken.err, HasSubstr("1 of 1 promises did not hold"));
  EXPECT_EQ(json.status, 3);
  EXPECT_EQ(Json::parse(json.out)[1]["held"], false);
}

TEST(DrillCommand, WrongUsageIsNamed) {
  EXPECT_THAT(drill({}).err, HasSubstr("--all"));
  const ProgramEnd unknown = drill({"earthquake"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, AllOf(HasSubstr("earthquake"), HasSubstr("server-down")));
}

}  // namespace
