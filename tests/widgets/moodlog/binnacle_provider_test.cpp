#include "widgets/moodlog/binnacle_provider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/time/time_zone.h"
#include "tests/vectors.h"
#include "tests/world.h"
#include "widgets/moodlog/mood_week.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using enum MoodType;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::StartsWith;

constexpr const char* kSuite = kAppGroupIdentifier;
constexpr const char* kNow = "2025-03-05T18:30:00Z";

NSUserDefaults suite() {
  return require(NSUserDefaults::initWithSuiteName(kSuite));
}

void store(const Value& record) {
  suite().setObject(record, kMoodsDataKey);
}

Value bytes(std::string_view text) {
  return Data{std::string(text)};
}

std::vector<MoodType> moodsOf(const std::vector<MoodDay>& week) {
  std::vector<MoodType> moods;
  for (const MoodDay& day : week) {
    moods.push_back(day.mood);
  }
  return moods;
}

std::vector<std::string> labelsOf(const std::vector<MoodDay>& week) {
  std::vector<std::string> labels;
  for (const MoodDay& day : week) {
    labels.push_back(day.dayLabel);
  }
  return labels;
}

/// The single entry of a timeline, the date of the next one, and the log.
struct Evaluation {
  BinnacleEntry entry;
  std::optional<Date> after;
  std::vector<std::string> log;
};

Evaluation evaluate() {
  Evaluation evaluation;
  const auto configuration = std::make_shared<ConfigurationIntent>();
  const CapturedLog log;
  int calls = 0;
  BinnacleProvider().getTimeline(configuration, {}, [&](const Timeline<BinnacleEntry>& timeline) {
    ++calls;
    EXPECT_EQ(timeline.entries.size(), 1u);
    evaluation.entry = timeline.entries.front();
    evaluation.after = timeline.policy.date;
  });
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(evaluation.entry.configuration, configuration);
  EXPECT_EQ(evaluation.entry.date, Date::now());
  evaluation.log = log.lines();
  return evaluation;
}

TEST(MoodType, StandsForItsExactName) {
  EXPECT_THAT(allCases<MoodType>(), ElementsAre(veryBad, bad, neutral, well, veryWell, emptyDay));
  EXPECT_EQ(withRawValue<MoodType>("emptyDay"), emptyDay);
  EXPECT_EQ(withRawValue<MoodType>("Well"), std::nullopt);
}

// Stored records

struct Case {
  std::string_view name;
  Value stored;
  std::vector<MoodType> moods;
  /// The lines after the first two, which are always the same.
  std::vector<std::string> log;
  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

const std::vector<MoodType> kEmpty(7, emptyDay);
/// The first lines of every timeline.
const std::vector<std::string> kAsked = {"[BinnacleProvider] getTimeline called.",
                                         "[BinnacleProvider] readMoodDataFromUserDefaults called."};
const std::string kRead = "[BinnacleProvider] Successfully deserialized mood data.";
const std::string kFound = "[BinnacleProvider] Debug: Found deserialized moods: ";
const std::string kFallback = "[BinnacleProvider] Debug: Generating empty mood days for fallback.";
const std::string kCast =
    "[BinnacleProvider] Failed to cast deserialized mood data to [String: String].";
const std::string kMissing =
    std::string("[BinnacleProvider] No serialized mood data found for key ") + kMoodsDataKey;

/// The lines of the seven days; those in `said` have a text and a mood.
std::vector<std::string> days(const std::string& found,
                              const std::map<std::string, std::string>& said = {}) {
  std::vector<std::string> lines = {kRead, kFound + found};
  for (const auto& [day, label] :
       std::initializer_list<std::pair<std::string, std::string>>{{"2025-03-05", "TODAY_LABEL"},
                                                                  {"2025-03-04", "YESTERDAY_LABEL"},
                                                                  {"2025-03-03", "Lun"},
                                                                  {"2025-03-02", "Dom"},
                                                                  {"2025-03-01", "Sáb"},
                                                                  {"2025-02-28", "Vie"},
                                                                  {"2025-02-27", "Jue"}}) {
    const auto mood = said.find(day);
    lines.push_back("Debug: Processed day - Date: " + day + ", Label: " + label + ", MoodString: " +
                    (mood == said.end() ? "nil, MoodType: emptyDay" : mood->second));
  }
  return lines;
}

const Case kCases[] = {
    {"aWeekWithGaps",
     bytes(R"({"2025-03-05":"well","2025-03-04":"veryWell","2025-02-27":"neutral"})"),
     {neutral, emptyDay, emptyDay, emptyDay, emptyDay, veryWell, well},
     days(R"(["2025-02-27": "neutral", "2025-03-04": "veryWell", "2025-03-05": "well"])",
          {{"2025-03-05", "well, MoodType: well"},
           {"2025-03-04", "veryWell, MoodType: veryWell"},
           {"2025-02-27", "neutral, MoodType: neutral"}})},
    {"unknownAndWronglyCasedMoods",
     bytes(R"({"2025-03-05":"Well","2025-03-04":"","2025-03-03":"bad","2025-03-02":"emptyDay"})"),
     {emptyDay, emptyDay, emptyDay, emptyDay, bad, emptyDay, emptyDay},
     days(
         R"(["2025-03-02": "emptyDay", "2025-03-03": "bad", "2025-03-04": "", "2025-03-05": "Well"])",
         {{"2025-03-05", "Well, MoodType: emptyDay"},
          {"2025-03-04", ", MoodType: emptyDay"},
          {"2025-03-03", "bad, MoodType: bad"},
          {"2025-03-02", "emptyDay, MoodType: emptyDay"}})},
    {"daysOutsideTheWeekAndOtherSpellings",
     bytes(R"({"2025-02-26":"well","2025-03-06":"well","2025-3-5":"well","2025-03-05 ":"well"})"),
     kEmpty,
     days(
         R"(["2025-02-26": "well", "2025-03-05 ": "well", "2025-03-06": "well", "2025-3-5": "well"])")},
    {"emptyObject", bytes("{}"), kEmpty, days("[:]")},
    {"array", bytes(R"(["well"])"), kEmpty, {kCast, kFallback}},
    {"scalar", bytes("5"), kEmpty, {kCast, kFallback}},
    {"oneNumberSpoilsAll",
     bytes(R"({"2025-03-05":"well","2025-03-04":4})"),
     kEmpty,
     {kCast, kFallback}},
    {"oneNullSpoilsAll", bytes(R"({"2025-03-05":null})"), kEmpty, {kCast, kFallback}},
    {"absent", Value(), kEmpty, {kMissing, kFallback}},
    {"textInsteadOfData", Value(R"({"2025-03-05":"well"})"), kEmpty, {kMissing, kFallback}},
};

class MoodRecords : public ::testing::TestWithParam<Case> {};

TEST_P(MoodRecords, AreShownOrExplained) {
  const Container container;
  if (!GetParam().stored.isNull()) {
    store(GetParam().stored);
  }
  phoneAt(instant(kNow), "America/Mexico_City");
  const Evaluation evaluation = evaluate();
  EXPECT_EQ(moodsOf(evaluation.entry.moodDays), GetParam().moods);
  std::vector<std::string> log = kAsked;
  log.insert(log.end(), GetParam().log.begin(), GetParam().log.end());
  EXPECT_THAT(evaluation.log, ElementsAreArray(log));
  EXPECT_FALSE(evaluation.entry.hasUid);
  EXPECT_EQ(evaluation.after, instant("2025-03-06T06:00:00Z"));
}

INSTANTIATE_TEST_SUITE_P(Records, MoodRecords, ::testing::ValuesIn(kCases), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(BinnacleProvider, EveryTruncationIsTheFallbackAndExplained) {
  const Container container;
  phoneAt(instant(kNow));
  const std::string record = R"({"2025-03-05":"well","2025-03-04":"a\u00f1ñ"})";
  for (std::size_t length = 0; length < record.size(); ++length) {
    store(Data{record.substr(0, length)});
    const Evaluation evaluation = evaluate();
    EXPECT_EQ(moodsOf(evaluation.entry.moodDays), kEmpty) << length;
    EXPECT_THAT(evaluation.log,
                ElementsAre(kAsked[0],
                            kAsked[1],
                            StartsWith("[BinnacleProvider] Error deserializing mood data: Error "
                                       "Domain=NSCocoaErrorDomain Code=3840 \"The data"),
                            kFallback))
        << length;
  }
}

TEST(BinnacleProvider, AnUnreachableSuiteIsTheFallback) {
  const Container container;
  // A folder where the suite's file should be can't be opened.
  std::filesystem::create_directories(container.path() / "Library" / "Preferences" /
                                      (std::string(kSuite) + ".plist"));
  phoneAt(instant(kNow));
  const Evaluation evaluation = evaluate();
  EXPECT_EQ(moodsOf(evaluation.entry.moodDays), kEmpty);
  EXPECT_THAT(
      evaluation.log,
      ElementsAre(kAsked[0],
                  kAsked[1],
                  "[BinnacleProvider] Error: Could not access UserDefaults for App Group: " +
                      std::string(kSuite),
                  kFallback));
}

// Days

// Keys in the device's own calendar and digits find their moods, days start where the zone's days
// do, and the days are worded as in the language's other apps.
TEST(BinnacleProvider, TheWeekIsThePlatforms) {
  // Locale data of another age words the short weekdays of these otherwise: "الخميس" and "خميس".
  const std::set<std::string> reworded = {"ar_EG", "ca_ES", "pt_PT"};
  const Container container;
  for (const auto& row : vectorRows("week.json")) {
    const std::string locale = row["locale"];
    SCOPED_TRACE(locale + " " + row["zone"].get<std::string>() + " " +
                 row["now"].get<std::string>());
    Dictionary moods;
    for (const auto& day : row["week"]) {
      moods.set(day["key"], "well");
    }
    store(*NSJSONSerialization::dataWithJSONObject(moods));
    phoneAt(instant(row["now"].get<std::string>()), row["zone"], locale);
    const auto week = evaluate().entry.moodDays;
    ASSERT_EQ(week.size(), 7u);
    EXPECT_THAT(moodsOf(week), Each(well));
    std::set<std::string> ids;
    for (std::size_t index = 0; index < week.size(); ++index) {
      const auto& want = row["week"][index];
      EXPECT_EQ(week[index].date.iso8601(), want["date"]);
      if (index >= 5 || !reworded.contains(locale)) {
        EXPECT_EQ(week[index].dayLabel, want["label"]);
      }
      ids.insert(week[index].id.uuidString());
    }
    EXPECT_EQ(ids.size(), 7u);
  }
}

TEST(DayLabels, AreCutInTwoLanguages) {
  EXPECT_EQ(cutWeekday("Miér.", "es"), "Mié");
  EXPECT_EQ(cutWeekday("Mié", "es"), "Mié");
  EXPECT_EQ(cutWeekday("Mer.", "fr"), "Mer");
  EXPECT_EQ(cutWeekday("Seg.", "pt"), "Seg.");
  EXPECT_EQ(cutWeekday("Mon.", std::nullopt), "Mon.");
}

TEST(BinnacleProvider, AtMidnightEveryDayMovesOnePlaceToTheLeft) {
  const Container container;
  for (const char* zone : {"America/Mexico_City", "America/Santiago", "Asia/Tokyo"}) {
    const Date midnight = TimeZone::withIdentifier(zone)->firstDateShowing(
        instant("2026-01-01T00:00:00Z").wholeSecondsSince1970());
    store(bytes(R"({"2025-12-31":"well","2025-12-30":"bad"})"));
    phoneAt(midnight.addingTimeInterval(-0.001), zone);
    const Evaluation before = evaluate();
    EXPECT_THAT(moodsOf(before.entry.moodDays),
                ElementsAre(emptyDay, emptyDay, emptyDay, emptyDay, emptyDay, bad, well));
    EXPECT_EQ(before.after, midnight);
    phoneAt(midnight, zone);
    const Evaluation from = evaluate();
    EXPECT_THAT(moodsOf(from.entry.moodDays),
                ElementsAre(emptyDay, emptyDay, emptyDay, emptyDay, bad, well, emptyDay));
    EXPECT_THAT(labelsOf(from.entry.moodDays),
                ElementsAre("Vie", "Sáb", "Dom", "Lun", "Mar", "YESTERDAY_LABEL", "TODAY_LABEL"));
  }
}

TEST(BinnacleProvider, AsksAgainAtTheNextStartOfADay) {
  const Container container;
  for (const auto& row : vectorRows("refresh.json")) {
    phoneAt(instant(row["now"].get<std::string>()), row["zone"]);
    EXPECT_EQ(evaluate().after->iso8601(), row["tomorrow"]) << row;
  }
}

TEST(BinnacleProviderDeathTest, StopsWhereTheCalendarEnds) {
  const Container container;
  phoneAt(Date::distantFuture());
  EXPECT_DEATH(evaluate(), "value is missing .*binnacle_provider.cpp");
}

// Samples

TEST(BinnacleProvider, SamplesIgnoreTheStoredMoods) {
  const Container container;
  store(bytes(R"({"2025-03-05":"veryBad"})"));
  suite().setObject("u-1", kSharedUidKey);
  phoneAt(instant(kNow));
  const auto configuration = std::make_shared<ConfigurationIntent>();
  const CapturedLog log;
  std::vector<BinnacleEntry> samples = {BinnacleProvider().placeholder({})};
  BinnacleProvider().getSnapshot(
      configuration, {}, [&](const BinnacleEntry& entry) { samples.push_back(entry); });
  EXPECT_THAT(log.lines(), ElementsAre());
  ASSERT_EQ(samples.size(), 2u);
  for (const BinnacleEntry& sample : samples) {
    EXPECT_THAT(moodsOf(sample.moodDays),
                ElementsAre(veryWell, well, neutral, bad, veryBad, emptyDay, well));
    EXPECT_THAT(labelsOf(sample.moodDays),
                ElementsAre("Jue", "Vie", "Sáb", "Dom", "Lun", "YESTERDAY_LABEL", "TODAY_LABEL"));
    EXPECT_EQ(sample.moodDays.front().date, instant("2025-02-27T00:00:00Z"));
    EXPECT_EQ(sample.date, instant(kNow));
  }
  EXPECT_FALSE(samples[0].hasUid);
  EXPECT_TRUE(samples[1].hasUid);
  EXPECT_EQ(samples[1].configuration, configuration);
  EXPECT_TRUE(evaluate().entry.hasUid);
}

}  // namespace
}  // namespace glancery
