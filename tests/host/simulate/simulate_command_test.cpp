#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/host/command_line.h"

namespace {

using namespace world;
using Json = nlohmann::json;
using Words = std::vector<std::string>;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::HasSubstr;

ProgramEnd simulate(const std::filesystem::path& output,
                    Words more,
                    const std::string& zone = "America/Mexico_City") {
  Words words = {"simulate", "-o", output, "--time-zone", zone};
  words.insert(words.end(), more.begin(), more.end());
  return run(GLANCERY_BUILD "/glancery", words);
}

TEST(Simulate, DaysWithEveryFaultAreFineAndTwoRunsAreEqual) {
  const Folder folder;
  writeWhole(folder.path() / "script.json", R"({"events": [
    {"do": "sign-in", "at": "08:00", "user": "u-1"},
    {"do": "streak", "at": "20:15", "every": 1},
    {"do": "mood", "at": "20:20", "every": 2, "mood": "bad"},
    {"do": "offline", "at": "21:00", "day": 1, "hours": 26},
    {"do": "travel", "at": "07:00", "day": 3, "timeZone": "Europe/Madrid"},
    {"do": "server", "at": "23:30", "day": 4, "fault": "error", "hours": 20},
    {"do": "travel", "at": "18:00", "day": 6, "timeZone": "America/Mexico_City"},
    {"do": "server", "at": "23:00", "day": 7, "fault": "cut", "hours": 2},
    {"do": "sign-out", "at": "12:00", "day": 9}
  ]})");
  const Words words = {"--days",
                       "11",
                       "--from",
                       "2026-03-02T00:00:00-06:00",
                       "--script",
                       folder.path() / "script.json"};
  const ProgramEnd first = simulate(folder.path() / "one", words);
  const ProgramEnd second = simulate(folder.path() / "two", words);
  EXPECT_EQ(first.status, 0) << first.err;
  for (const char* file : {"report.json", "report.html"}) {
    EXPECT_EQ(readWhole(folder.path() / "one" / file), readWhole(folder.path() / "two" / file));
  }
  const Json report = Json::parse(readWhole(folder.path() / "one" / "report.json"));
  EXPECT_EQ(report["violations"], Json::array());
  std::vector<int> downloads;
  std::vector<int> shown;
  for (const Json& day : report["days"]) {
    downloads.push_back(day["downloads"]);
    shown.push_back(day["widgets"]["StreakWidget"]["shown"]);
  }
  // Errors end the sixth day's download, and cut answers the ninth's. The flight to the west brings
  // another midnight, and a request that is sent once the phone is online again arrives late.
  EXPECT_THAT(downloads, ElementsAre(1, 1, 1, 1, 1, 0, 2, 1, 0, 1, 0));
  EXPECT_THAT(shown, Each(Ge(7)));
}

TEST(Simulate, TimesOfTheScriptAreLocalEvenWhenTheClocksChange) {
  const Folder folder;
  writeWhole(folder.path() / "script.json",
             R"({"events": [{"do": "streak", "at": "20:15", "every": 1}]})");
  for (const char* from : {"2026-03-08T00:00:00-05:00", "2026-11-01T00:00:00-04:00"}) {
    const ProgramEnd end =
        simulate(folder.path() / "out",
                 {"--days", "1", "--from", from, "--script", folder.path() / "script.json"},
                 "America/New_York");
    EXPECT_EQ(end.status, 0) << end.err;
    const Json report = Json::parse(readWhole(folder.path() / "out" / "report.json"));
    EXPECT_THAT(report["days"][0]["log"].get<Words>(),
                Contains("20:15:00 host: the host app changed streakData"));
  }
}

TEST(Simulate, AFaultOfTheServerDoesNotEndAnOfflineTime) {
  const Folder folder;
  writeWhole(folder.path() / "script.json", R"({"events": [
    {"do": "sign-in", "at": "08:00", "user": "u-1"},
    {"do": "offline", "at": "09:00", "day": 1, "hours": 40},
    {"do": "server", "at": "10:00", "day": 1, "fault": "cut", "hours": 1}]})");
  const ProgramEnd end = simulate(folder.path() / "out",
                                  {"--days",
                                   "3",
                                   "--from",
                                   "2026-03-02T07:00:00-06:00",
                                   "--script",
                                   folder.path() / "script.json"});
  EXPECT_EQ(end.status, 0) << end.err;
  const Json report = Json::parse(readWhole(folder.path() / "out" / "report.json"));
  std::vector<int> downloads;
  for (const Json& day : report["days"]) {
    downloads.push_back(day["downloads"]);
  }
  EXPECT_THAT(downloads, ElementsAre(1, 1, 0)) << "three days, the first from 7 o'clock on";
}

TEST(Simulate, AStaleDayIsStatus3) {
  const Folder folder;
  writeWhole(folder.path() / "script.json",
             R"({"events": [{"do": "sign-in", "at": "08:00", "user": "stale"}]})");
  const ProgramEnd end = simulate(folder.path() / "out",
                                  {"--days",
                                   "2",
                                   "--from",
                                   "2026-03-02T00:00:00-06:00",
                                   "--extension",
                                   GLANCERY_BUILD "/Faulty.appex",
                                   "--script",
                                   folder.path() / "script.json"});
  EXPECT_EQ(end.status, 3);
  EXPECT_THAT(end.err,
              HasSubstr("at 2026-03-03T00:00:00: Faulty shows its entry of 2026-03-02T08:00:00"));
}

TEST(Simulate, AMistakeInTheScriptIsNamedWithItsPlace) {
  const Folder folder;
  const auto script = folder.path() / "script.json";
  writeWhole(script, "{\"events\": [\n{\"do\": \"nothing\"}]}");
  const ProgramEnd end = simulate(folder.path() / "out", {"--script", script});
  EXPECT_EQ(end.status, 1);
  EXPECT_THAT(end.err, AllOf(HasSubstr(script.string()), HasSubstr("line 2, column 1")));
}

}  // namespace
