#include "host/simulate/script.h"

#include <gmock/gmock.h>

namespace host {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The days from 0 to 9 on which the event happens.
std::vector<int> daysOf(const ScriptEvent& event) {
  std::vector<int> days;
  for (int day = 0; day < 10; ++day) {
    if (event.happensOn(day)) {
      days.push_back(day);
    }
  }
  return days;
}

TEST(Script, SaysWhatHappensWhen) {
  const auto script = readScript(R"({"events": [
    {"do": "mood", "mood": "well", "at": "20:15", "day": 1, "every": 3, "until": 7},
    {"do": "offline", "at": "00:05", "hours": 30},
    {"do": "streak", "at": "23:59", "every": 4}
  ]})");
  ASSERT_TRUE(script) << script.error();
  EXPECT_EQ(script->at(0).value, "well");
  EXPECT_EQ(script->at(0).minute, 20 * 60 + 15);
  EXPECT_THAT(daysOf(script->at(0)), ElementsAre(1, 4, 7));
  EXPECT_EQ(script->at(1).hours, 30);
  EXPECT_THAT(daysOf(script->at(1)), ElementsAre(0));
  EXPECT_THAT(daysOf(script->at(2)), ElementsAre(0, 4, 8));
  EXPECT_THAT(*readScript(R"({"events": []})"), IsEmpty());
  EXPECT_TRUE(readScript(defaultScript()));

  using namespace std::string_view_literals;
  EXPECT_EQ(readScript("{\"events\": []}\0{"sv).error(), "line 1, column 15: not valid JSON");
}

struct Mistake {
  const char* name;
  const char* json;
  const char* error;
  friend void PrintTo(const Mistake& row, std::ostream* out) { *out << row.name; }
};

// clang-format off
const Mistake kMistakes[] = {
    {"notJSON", "{\"events\": [\n  {\"do\": }]}", "line 2, column 10: not valid JSON"},
    {"nothing", "", "line 1, column 1: not valid JSON"},
    {"hugeNumber", "{\"events\": [{\"do\": \"streak\", \"every\": 1e999}]}",
     "line 1, column 45: the number before this is too large"},
    {"noEvents", "{}", "line 1, column 1: \"events\" is missing"},
    {"otherMember", "{\"days\": 3}", "line 1, column 7: the only member is \"events\""},
    {"notAnObject", "{\"events\": [\n3]}", "line 2, column 2: an object was expected"},
    {"notAnArray", "{\"events\": {\"do\": 1}}", "line 1, column 12: an array was expected"},
    {"number", "{\"events\": 3}", "line 1, column 13: an array was expected"},
    {"arrayOfArrays", "{\"events\": [[]]}", "line 1, column 13: an object was expected"},
    {"array", "[]", "line 1, column 1: an object was expected"},
    {"unknownEvent", "{\"events\": [\n {\"do\": \"sleep\", \"at\": \"08:00\"}]}",
     "line 2, column 2: \"do\" must be one of sign-in, sign-out, streak, mood, travel, offline, server"},
    {"noTime", "{\"events\": [{\"do\": \"streak\"}]}", "line 1, column 13: \"at\" must be a string"},
    {"notATime", "{\"events\": [{\"do\": \"streak\", \"at\": \"24:00\"}]}",
     "line 1, column 13: \"at\" must be a time such as \"20:15\""},
    {"unknownZone", "{\"events\": [{\"do\": \"travel\", \"at\": \"08:00\", \"timeZone\": \"Mars\"}]}",
     "line 1, column 13: \"timeZone\": the tz database has no \"Mars\""},
    {"unknownMood", "{\"events\": [{\"do\": \"mood\", \"at\": \"08:00\", \"mood\": \"odd\"}]}",
     "line 1, column 13: \"mood\" must be one of veryBad, bad, neutral, well, veryWell"},
    {"unknownFault", "{\"events\": [{\"do\": \"server\", \"at\": \"08:00\", \"fault\": \"fire\", \"hours\": 1}]}",
     "line 1, column 13: \"fault\" must be one of error, cut, nonsense"},
    {"noHours", "{\"events\": [{\"do\": \"offline\", \"at\": \"08:00\"}]}", "line 1, column 13: \"hours\" is missing"},
    {"notEvery", "{\"events\": [{\"do\": \"streak\", \"at\": \"08:00\", \"every\": 0}]}",
     "line 1, column 13: \"every\" must be an integer from 1 to 1000000"},
    {"unknownMember", "{\"events\": [\n\n   {\"do\": \"streak\", \"at\": \"08:00\", \"days\": 2}]}",
     "line 3, column 4: unknown member \"days\""},
};
// clang-format on

class ScriptMistake : public ::testing::TestWithParam<Mistake> {};

TEST_P(ScriptMistake, IsNamedWithItsPlace) {
  const auto script = readScript(GetParam().json);
  ASSERT_FALSE(script);
  EXPECT_EQ(script.error(), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(Rows, ScriptMistake, ::testing::ValuesIn(kMistakes), [](const auto& row) {
  return std::string(row.param.name);
});

}  // namespace
}  // namespace host
