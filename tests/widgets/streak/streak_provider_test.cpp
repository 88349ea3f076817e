#include "widgets/streak/streak_provider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string_view>

#include <nlohmann/json.hpp>

#include "store/shared_store.h"
#include "tests/vectors.h"
#include "tests/widgets/streak/streak_world.h"
#include "tests/world.h"
#include "widgets/streak/streak_widget.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

/// What the suite holds before an evaluation; instants as ISO 8601, absent ones empty.
struct StoredStreak {
  std::string_view lastActive = {};
  std::int64_t count = 5;
  std::optional<std::int64_t> success = {};
  std::optional<std::int64_t> fail = {};
  std::string_view successMoved = {};
  std::string_view failMoved = {};
};

void store(const StoredStreak& streak) {
  auto defaults = suite();
  if (!streak.lastActive.empty()) {
    const double seconds = instant(streak.lastActive).timeIntervalSince1970();
    defaults.setObject(Data{R"({"count":)" + std::to_string(streak.count) + R"(,"timestamp":)" +
                            std::to_string(seconds) + "}"},
                       kStreakDataKey);
  }
  const auto put = [&](const auto& value, std::string_view key) {
    if (value) {
      defaults.setInteger(*value, key);
    }
  };
  put(streak.success, kSuccessImageIndexKey);
  put(streak.fail, kFailImageIndexKey);
  const auto putDate = [&](std::string_view date, std::string_view key) {
    if (!date.empty()) {
      defaults.setObject(instant(date), key);
    }
  };
  putDate(streak.successMoved, kSuccessIndexLastUpdateDateKey);
  putDate(streak.failMoved, kFailIndexLastUpdateDateKey);
}

// Days and hours

struct Case {
  std::string_view name;
  StoredStreak stored;
  std::string_view now;
  std::string_view background;
  std::int64_t count;
  std::string_view message;
  std::string_view flame;
  std::int64_t success;
  std::int64_t fail;
  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

// clang-format off
const Case kCases[] = {
    {"firstLookOfTheDayMovesTheIndex", {.lastActive = "2024-03-05T09:00Z", .success = 4},
     "2024-03-05T10:00Z", "streakBg_success5", 5, "", "flame", 0, 0},
    {"secondLookLeadsTheStoredIndexByOne", {.lastActive = "2024-03-05T09:00Z", .success = 0, .successMoved = "2024-03-05T10:00Z"},
     "2024-03-05T11:00Z", "streakBg_success1", 5, "", "flame", 0, 0},
    {"maintainedStreakKeepsItsFlameAtNight", {.lastActive = "2024-03-05T09:00Z", .success = 1},
     "2024-03-05T23:30Z", "streakBg_success2", 5, "", "flame", 2, 0},
    {"activityLaterTodayCountsAsToday", {.lastActive = "2024-03-05T23:59:59Z"},
     "2024-03-05T10:00Z", "streakBg_success1", 5, "", "flame", 1, 0},
    {"activityTomorrowIsBroken", {.lastActive = "2024-03-06T00:00Z"},
     "2024-03-05T10:00Z", "streakBg_fail1", 0, "STREAK_FAIL_MESSAGE_1", "flame", 0, 1},
    {"yesterdayBeforeTheEvening", {.lastActive = "2024-03-04T00:00Z", .success = 3},
     "2024-03-05T19:59:59Z", "streakBg_dusk", 5, "STREAK_TEXT_18_20", "flame", 3, 0},
    {"yesterdayInTheEvening", {.lastActive = "2024-03-04T23:59:59Z", .success = 3},
     "2024-03-05T20:30Z", "streakBg_night", 5, "STREAK_TEXT_20_22", "flameEnd", 3, 0},
    {"yesterdayAtMidnight", {.lastActive = "2024-03-04T12:00Z"},
     "2024-03-05T00:00Z", "streakBg_dawn", 5, "STREAK_TEXT_00_08", "flame", 0, 0},
    {"noRecordAtNight", {},
     "2024-03-05T23:00Z", "streakBg_lateNight", 0, "STREAK_TEXT_22_24", "flameEnd", 0, 0},
    {"noRecordInTheMorningKeepsTheIndices", {.success = 2, .fail = 3},
     "2024-03-05T08:00Z", "streakBg_morning", 0, "STREAK_TEXT_08_10", "flame", 2, 3},
    {"brokenStreakNeverShowsTheEndingFlame", {.lastActive = "2024-03-02T09:00Z", .success = 2, .fail = 3, .failMoved = "2024-03-04T10:00Z"},
     "2024-03-05T21:00Z", "streakBg_fail4", 0, "STREAK_FAIL_MESSAGE_4", "flame", 0, 0},
    {"brokenAgainOnTheSameDayStillResetsTheSuccessIndex", {.lastActive = "2024-03-02T09:00Z", .success = 2, .fail = 1, .failMoved = "2024-03-05T00:00Z"},
     "2024-03-05T21:00Z", "streakBg_fail2", 0, "STREAK_FAIL_MESSAGE_2", "flame", 0, 1},
    {"negativeIndexKeepsItsSign", {.lastActive = "2024-03-05T09:00Z", .success = -3},
     "2024-03-05T10:00Z", "streakBg_success-2", 5, "", "flame", -2, 0},
    {"indexBeyondTheArtworkComesBack", {.lastActive = "2024-03-02T09:00Z", .fail = 11},
     "2024-03-05T10:00Z", "streakBg_fail12", 0, "STREAK_FAIL_MESSAGE_12", "flame", 0, 0},
    {"negativeCountIsShownAsStored", {.lastActive = "2024-03-05T09:00Z", .count = -7},
     "2024-03-05T10:00Z", "streakBg_success1", -7, "", "flame", 1, 0},
};
// clang-format on

class StreakEvaluation : public ::testing::TestWithParam<Case> {};

TEST_P(StreakEvaluation, ShowsAndStores) {
  const Case& row = GetParam();
  const Container container;
  store(row.stored);
  phoneAt(instant(row.now));

  const StreakEntry entry = evaluate().entry;

  EXPECT_EQ(entry.date, instant(row.now));
  EXPECT_EQ(entry.backgroundImageName, row.background);
  EXPECT_EQ(entry.displayStreakCount, row.count);
  EXPECT_EQ(entry.failMessageKey.value_or(entry.timeBasedMessageKey.value_or("")), row.message);
  EXPECT_EQ(entry.flameImageName, row.flame);
  EXPECT_EQ(suite().integerForKey(kSuccessImageIndexKey), row.success);
  EXPECT_EQ(suite().integerForKey(kFailImageIndexKey), row.fail);
}

INSTANTIATE_TEST_SUITE_P(Days, StreakEvaluation, ::testing::ValuesIn(kCases), [](const auto& row) {
  return std::string(row.param.name);
});

// Answers of the platform

std::optional<std::string> iso(std::optional<Date> date) {
  return date.transform([](Date when) { return when.iso8601(); });
}

Value asValue(const nlohmann::json& json) {
  if (json.is_string()) {
    return Value(instant(json.get<std::string>()));
  }
  return Value(json.get<std::int64_t>());
}

TEST(StreakVectors, EntriesPoliciesAndWritesAreThePlatforms) {
  for (const auto& row : vectorRows("streak.json")) {
    SCOPED_TRACE(row.dump());
    const Container container;
    auto defaults = suite();
    defaults.setObject(Data{row["record"].get<std::string>()}, kStreakDataKey);
    defaults.setInteger(row["success"].get<std::int64_t>(), kSuccessImageIndexKey);
    defaults.setInteger(row["fail"].get<std::int64_t>(), kFailImageIndexKey);
    for (const auto& [member, key] : {std::pair("successDate", kSuccessIndexLastUpdateDateKey),
                                      std::pair("failDate", kFailIndexLastUpdateDateKey)}) {
      if (row[member].is_string()) {
        defaults.setObject(instant(row[member].get<std::string>()), key);
      }
    }
    Dictionary expected = stored();
    for (const auto& [key, value] : row["want"]["writes"].items()) {
      expected.set(key, asValue(value));
    }
    phoneAt(instant(row["now"].get<std::string>()), row["zone"].get<std::string>());

    const Evaluation evaluation = evaluate();

    EXPECT_EQ(iso(evaluation.after), row["want"]["after"].get<std::string>());
    EXPECT_EQ(stored(), expected);
    for (const auto& [name, field] : mirror(evaluation.entry)) {
      const auto& value = std::get<Value>(field);
      const auto& want = row["want"]["entry"].at(name);
      const Value shown = value.as<Date>() ? Value(value.as<Date>()->iso8601()) : value;
      EXPECT_EQ(shown,
                want.is_null()      ? Value()
                : want.is_boolean() ? Value(want.get<bool>())
                : want.is_number()  ? Value(want.get<std::int64_t>())
                                    : Value(want.get<std::string>()))
          << name;
    }
  }
}

TEST(StreakVectors, NextUpdatesAroundClockChangesAreThePlatforms) {
  const Container container;
  for (const auto& row : vectorRows("refresh.json")) {
    phoneAt(instant(row["now"].get<std::string>()), row["zone"].get<std::string>());
    EXPECT_EQ(iso(evaluate().after), row["after"].get<std::string>()) << row.dump();
  }
}

TEST(StreakProvider, NextUpdateIsTheNextBandOrMidnight) {
  const Container container;
  constexpr int kNext[24] = {8,  8,  8,  8,  8,  8,  8,  8,  10, 10, 12, 12,
                             14, 14, 16, 16, 18, 18, 20, 20, 22, 22, 24, 24};
  const Date midnight = instant("2024-03-05T00:00Z");
  for (int hour = 0; hour < 24; ++hour) {
    for (const double second : {0.0, 3599.999}) {
      phoneAt(midnight.addingTimeInterval(hour * 3600 + second));
      EXPECT_EQ(evaluate().after, midnight.addingTimeInterval(kNext[hour] * 3600)) << hour;
    }
  }
}

// Log lines, whole and in order

TEST(StreakProvider, LogsTheMaintainedDay) {
  const Container container;
  store({.lastActive = "2024-03-05T09:00:00.750Z", .success = 4});
  phoneAt(instant("2024-03-05T21:59Z"));
  const std::string read =
      "[StreakProvider] Deserialized streakCount: 5, lastStreakDate: 2024-03-05 09:00:00 +0000";
  EXPECT_THAT(evaluate().log,
              ElementsAre(read,
                          "[StreakProvider] Maintained Today. Index updated: 4 -> 0.",
                          "[StreakProvider] Timeline generated. Entry: Count=5, "
                          "Bg=streakBg_success5, Type=successCounter, ShowTimeText=false, "
                          "Flame=flame. Next update: 2024-03-05 22:00:00 +0000"));
  EXPECT_THAT(evaluate().log,
              ElementsAre(read,
                          "[StreakProvider] Maintained Today. Index already updated today.",
                          "[StreakProvider] Timeline generated. Entry: Count=5, "
                          "Bg=streakBg_success1, Type=successCounter, ShowTimeText=false, "
                          "Flame=flame. Next update: 2024-03-05 22:00:00 +0000"));
}

TEST(StreakProvider, LogsTheBrokenStreak) {
  const Container container;
  store({.lastActive = "2024-03-02T09:00Z", .fail = 3});
  phoneAt(instant("2024-03-05T22:00Z"));
  const std::string read =
      "[StreakProvider] Deserialized streakCount: 5, lastStreakDate: 2024-03-02 09:00:00 +0000";
  const std::string reset =
      "[StreakProvider] Resetting success image index to 0 due to broken streak.";
  EXPECT_THAT(evaluate().log,
              ElementsAre(read,
                          "[StreakProvider] Streak Broken. Fail Index updated: 3 -> 0.",
                          reset,
                          "[StreakProvider] Timeline generated. Entry: Count=0, "
                          "Bg=streakBg_fail4, Type=failMessage, ShowTimeText=false, "
                          "Flame=flame. Next update: 2024-03-06 00:00:00 +0000"));
  EXPECT_THAT(evaluate().log,
              ElementsAre(read,
                          "[StreakProvider] Streak Broken. Fail Index already updated today.",
                          reset,
                          "[StreakProvider] Timeline generated. Entry: Count=0, "
                          "Bg=streakBg_fail1, Type=failMessage, ShowTimeText=false, "
                          "Flame=flame. Next update: 2024-03-06 00:00:00 +0000"));
}

TEST(StreakProvider, LogsTheEveningAfterAnActiveDay) {
  const Container container;
  store({.lastActive = "2024-03-04T09:00Z"});
  phoneAt(instant("2024-03-05T20:00Z"));
  EXPECT_THAT(
      evaluate().log,
      ElementsAre("[StreakProvider] Deserialized streakCount: 5, lastStreakDate: 2024-03-04 "
                  "09:00:00 +0000",
                  "[StreakProvider] Active Yesterday, Not Today.",
                  "[StreakProvider] Setting flame to flameEnd (Optimized Check: !isActiveToday && "
                  "isWithinTimeWindow && !isStreakBrokenBeforeYesterday)",
                  "[StreakProvider] Timeline generated. Entry: Count=5, Bg=streakBg_night, "
                  "Type=successCounter, ShowTimeText=true, Flame=flameEnd. Next update: "
                  "2024-03-05 22:00:00 +0000"));
}

TEST(StreakProvider, LogsTheInitialState) {
  const Container container;
  phoneAt(instant("2024-03-05T07:15Z"));
  EXPECT_THAT(
      evaluate().log,
      ElementsAre("[StreakProvider] No serialized streak data found for key streakData",
                  "[StreakProvider] Initial State.",
                  "[StreakProvider] Timeline generated. Entry: Count=0, Bg=streakBg_dawn, "
                  "Type=failMessage, ShowTimeText=true, Flame=flame. Next update: 2024-03-05 "
                  "08:00:00 +0000"));
}

// The record

const std::string kNoDate =
    "[StreakProvider] Timestamp missing or invalid in deserialized streak data";

std::string readLine(std::int64_t count, std::string_view date) {
  return "[StreakProvider] Deserialized streakCount: " + std::to_string(count) +
         ", lastStreakDate: " + std::string(date);
}

struct RecordCase {
  std::string_view name;
  Value stored;
  StreakRecord expected;
  std::vector<std::string> log;
  friend void PrintTo(const RecordCase& row, std::ostream* out) { *out << row.name; }
};

Value bytes(std::string_view text) {
  return Data{std::string(text)};
}

const Date kNovember = Date::since1970(1700000000);
const std::string kMissing =
    std::string("[StreakProvider] No serialized streak data found for key ") + kStreakDataKey;
const std::string kCast = "[StreakProvider] Failed to cast deserialized object to [String: Any]";

const RecordCase kRecords[] = {
    {"good",
     bytes(R"({"count":5,"timestamp":1700000000,"other":[1]})"),
     {5, kNovember},
     {readLine(5, "2023-11-14 22:13:20 +0000")}},
    {"zeroTimestampKeepsTheCount",
     bytes(R"({"count":5,"timestamp":0})"),
     {5, {}},
     {kNoDate, readLine(5, "nil")}},
    {"negativeTimestamp",
     bytes(R"({"count":5,"timestamp":-1.5})"),
     {5, {}},
     {kNoDate, readLine(5, "nil")}},
    {"textTimestamp",
     bytes(R"({"count":5,"timestamp":"1700000000"})"),
     {5, {}},
     {kNoDate, readLine(5, "nil")}},
    {"missingCountIsSilent",
     bytes(R"({"timestamp":1700000000})"),
     {0, kNovember},
     {readLine(0, "2023-11-14 22:13:20 +0000")}},
    {"fractionalCount",
     bytes(R"({"count":5.5,"timestamp":1700000000})"),
     {0, kNovember},
     {readLine(0, "2023-11-14 22:13:20 +0000")}},
    {"booleansAreNumbers",
     bytes(R"({"count":true,"timestamp":true})"),
     {1, Date::since1970(1)},
     {readLine(1, "1970-01-01 00:00:01 +0000")}},
    {"countBeyond64Bits",
     bytes(R"({"count":9223372036854775808,"timestamp":1700000000})"),
     {0, kNovember},
     {readLine(0, "2023-11-14 22:13:20 +0000")}},
    {"emptyObject", bytes("{}"), {0, {}}, {kNoDate, readLine(0, "nil")}},
    {"array", bytes("[5,1700000000]"), {0, {}}, {kCast}},
    {"scalar", bytes("5"), {0, {}}, {kCast}},
    {"absent", Value(), {0, {}}, {kMissing}},
    {"textInsteadOfData", Value(R"({"count":5})"), {0, {}}, {kMissing}},
    {"numberInsteadOfData", Value(5), {0, {}}, {kMissing}},
};

class StreakRecords : public ::testing::TestWithParam<RecordCase> {};

TEST_P(StreakRecords, AreReadOrExplained) {
  const Container container;
  if (!GetParam().stored.isNull()) {
    suite().setObject(GetParam().stored, kStreakDataKey);
  }
  const CapturedLog log;
  EXPECT_EQ(streakProvider().readStreakData(), GetParam().expected);
  EXPECT_THAT(log.lines(), ElementsAreArray(GetParam().log));
}

INSTANTIATE_TEST_SUITE_P(Records,
                         StreakRecords,
                         ::testing::ValuesIn(kRecords),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(StreakRecord, EveryTruncationIsMissingAndExplained) {
  const Container container;
  const std::string record = R"({"count":5,"timestamp":1700000000.5,"note":"añ\ud83d\ude00"})";
  for (std::size_t length = 0; length < record.size(); ++length) {
    suite().setObject(Data{record.substr(0, length)}, kStreakDataKey);
    const CapturedLog log;
    EXPECT_EQ(streakProvider().readStreakData(), (StreakRecord{0, {}})) << length;
    EXPECT_THAT(
        log.lines(),
        ElementsAre(::testing::StartsWith("[StreakProvider] Error deserializing streak data: Error "
                                          "Domain=NSCocoaErrorDomain Code=3840 \"The data")))
        << length;
  }
}

// Failures

TEST(StreakProvider, AnUnreachableSuiteIsTheInitialStateAndWritesNothing) {
  const Container container;
  // A folder where the suite's file should be can't be opened.
  const auto file = container.path() / "Library" / "Preferences" / (kSuite + ".plist");
  std::filesystem::create_directories(file);
  phoneAt(instant("2024-03-05T23:00Z"));

  const Evaluation evaluation = evaluate();

  EXPECT_EQ(evaluation.entry.backgroundImageName, "streakBg_lateNight");
  EXPECT_EQ(evaluation.entry.displayType, StreakDisplayType::failMessage);
  EXPECT_EQ(evaluation.log.front(), "[StreakProvider] Error: Could not access shared UserDefaults");
  EXPECT_TRUE(std::filesystem::is_empty(file));
}

// The host app and older versions of the extension know the suite and its keys by these names.
TEST(StreakWidget, KeepsItsPlaceUnderTheSharedKeys) {
  const Container container;
  const auto shared = *NSUserDefaults::initWithSuiteName("group.com.quiloapp.sharedData");
  const auto shown = [&](std::string_view now) {
    phoneAt(instant(now));
    std::string background;
    const CapturedLog silent;
    Streak().body().provider->getTimeline({}, [&](const WidgetTimeline& timeline) {
      background = *std::get<Value>(timeline.entries.at(0).fields.at(2).second).as<std::string>();
    });
    return background;
  };
  auto app = shared;
  app.setObject(Data{R"({"count":5,"timestamp":1709629200})"}, "streakData");  // 2024-03-05 09:00
  EXPECT_EQ(shown("2024-03-05T10:00Z"), "streakBg_success1");
  EXPECT_EQ(shown("2024-03-05T11:00Z"), "streakBg_success2");
  EXPECT_EQ(shown("2024-03-08T10:00Z"), "streakBg_fail1");
  EXPECT_EQ(shown("2024-03-08T11:00Z"), "streakBg_fail2");
  Dictionary kept = shared.dictionaryRepresentation();
  kept.remove("streakData");
  EXPECT_EQ(kept,
            (Dictionary{{"streakImageIndex", 0},
                        {"successIndexLastUpdateDate", instant("2024-03-05T10:00Z")},
                        {"streakFailImageIndex", 1},
                        {"failIndexLastUpdateDate", instant("2024-03-08T10:00Z")}}));
}

TEST(StreakProviderDeathTest, StopsWhereTheCalendarEnds) {
  const Container container;
  phoneAt(Date::distantPast());
  EXPECT_DEATH(evaluate(), "value is missing .*streak_provider.cpp");
  phoneAt(Date::distantFuture(), "Etc/GMT+2");  // 22:00 there: no later refresh on that day.
  EXPECT_DEATH(evaluate(), "value is missing .*streak_provider.cpp");
}

TEST(StreakProvider, DatesOfAnotherTypeAreAbsent) {
  const Container container;
  store({.lastActive = "2024-03-05T09:00Z", .success = 1});
  suite().setObject("2024-03-05T09:30:00Z", kSuccessIndexLastUpdateDateKey);
  phoneAt(instant("2024-03-05T10:00Z"));
  evaluate();
  EXPECT_EQ(suite().integerForKey(kSuccessImageIndexKey), 2);
  EXPECT_EQ(suite().objectForKey(kSuccessIndexLastUpdateDateKey),
            Value(instant("2024-03-05T10:00Z")));
}

TEST(StreakProviderDeathTest, TheLargestIndexStopsTheProcessWhereItIsUsed) {
  constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();
  const Container container;
  phoneAt(instant("2024-03-05T10:00Z"));
  store({.lastActive = "2024-03-05T09:00Z", .success = kLargest});
  EXPECT_DEATH(evaluate(), "arithmetic overflow");
  store({.lastActive = "2024-03-02T09:00Z", .success = 0, .fail = kLargest});
  EXPECT_DEATH(evaluate(), "arithmetic overflow");
  store({.lastActive = "2024-03-04T09:00Z", .success = kLargest});
  EXPECT_EQ(evaluate().entry.backgroundImageName, "streakBg_midday");
}

// Samples

TEST(StreakProvider, SamplesIgnoreTheSuite) {
  const Container container;
  store({.lastActive = "2024-03-05T09:00Z", .count = 99});
  phoneAt(instant("2024-03-05T21:00Z"));
  const CapturedLog log;
  const StreakEntry placeholder = streakProvider().placeholder({});
  EXPECT_THAT(log.lines(), ElementsAre());
  EXPECT_EQ(placeholder,
            (StreakEntry{.date = instant("2024-03-05T21:00Z"),
                         .displayStreakCount = 5,
                         .backgroundImageName = "streakBg_morning",
                         .timeBasedMessageKey = "STREAK_TEXT_08_10",
                         .showTimeBasedText = true,
                         .flameImageName = "flame"}));
  std::vector<StreakEntry> snapshots;
  streakProvider().getSnapshot({.isPreview = true},
                               [&](const StreakEntry& entry) { snapshots.push_back(entry); });
  EXPECT_THAT(snapshots,
              ElementsAre(StreakEntry{.date = instant("2024-03-05T21:00Z"),
                                      .displayStreakCount = 10,
                                      .backgroundImageName = "streakBg_night",
                                      .timeBasedMessageKey = "STREAK_TEXT_20_22",
                                      .showTimeBasedText = true,
                                      .flameImageName = "flame"}));
  EXPECT_THAT(
      log.lines(),
      ElementsAre("[StreakProvider] Providing specific snapshot: 10 day streak, pending today."));
}

}  // namespace
}  // namespace glancery
