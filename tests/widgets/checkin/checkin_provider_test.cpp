#include "widgets/checkin/checkin_provider.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <unordered_set>

#include "tests/vectors.h"
#include "tests/world.h"
#include "widgets/checkin/checkin_date.h"
#include "widgets/checkin/emotion.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using ::testing::ElementsAre;

TEST(Emotion, StandsForItsExactName) {
  using enum Emotion;
  EXPECT_THAT(allCases<Emotion>(), ElementsAre(veryBad, bad, neutral, well, veryWell));
  EXPECT_EQ(withRawValue<Emotion>("veryWell"), veryWell);
  for (const char* other : {"VeryBad", "very_bad", "", "emptyDay", "bad "}) {
    EXPECT_EQ(withRawValue<Emotion>(other), std::nullopt) << other;
  }
  EXPECT_EQ(encode(neutral), Value("neutral"));
  EXPECT_EQ(decode<Emotion>("bad"), bad);
  EXPECT_EQ(decode<Emotion>(1), std::nullopt);
  const std::unordered_set<Emotion, RawValueHash> different = {bad, well, bad};
  EXPECT_EQ(different.size(), 2u);
}

constexpr const char* kSuite = "group.com.quiloapp.sharedData";

/// The results of the three requests while the suite holds `uid`.
std::vector<bool> signedIn(const Value& uid) {
  const Container container;
  if (!uid.isNull()) {
    NSUserDefaults::initWithSuiteName(kAppGroupIdentifier)->setObject(uid, kSharedUidKey);
  }
  const Date now = instant("2025-03-05T18:30:00Z");
  phoneAt(now);
  const auto configuration = std::make_shared<ConfigurationIntent>();
  const CapturedLog log;
  std::vector<CheckinSimpleEntry> entries = {CheckinProvider().placeholder({})};
  CheckinProvider().getSnapshot(
      configuration, {}, [&](const CheckinSimpleEntry& entry) { entries.push_back(entry); });
  CheckinProvider().getTimeline(
      configuration, {}, [&](const Timeline<CheckinSimpleEntry>& timeline) {
        EXPECT_EQ(timeline.policy, TimelineReloadPolicy::never);
        EXPECT_EQ(timeline.entries.size(), 1u);
        entries.push_back(timeline.entries.front());
      });
  EXPECT_THAT(log.lines(), ElementsAre());
  EXPECT_NE(entries.at(0).configuration, configuration);
  EXPECT_EQ(entries.at(1), (CheckinSimpleEntry{now, configuration, entries.at(1).hasUid}));
  EXPECT_EQ(entries.at(2), entries.at(1));
  return {entries[0].hasUid, entries[1].hasUid, entries[2].hasUid};
}

TEST(CheckinProvider, KnowsAfreshWhetherAUserIsSignedIn) {
  EXPECT_THAT(signedIn(Value()), ElementsAre(false, false, false));
  EXPECT_THAT(signedIn(""), ElementsAre(false, false, false));
  for (const Value& noString :
       {Value(7), Value(false), Value(true), Value(1.5), Value(Data{"u"})}) {
    EXPECT_THAT(signedIn(noString), ElementsAre(false, false, false));
  }
  EXPECT_THAT(signedIn("u-1"), ElementsAre(false, true, true));
  EXPECT_THAT(signedIn(" "), ElementsAre(false, true, true));
  const Container container;
  std::filesystem::create_directories(container.path() / "Library" / "Preferences" /
                                      (std::string(kSuite) + ".plist"));
  CheckinProvider().getSnapshot(
      nullptr, {}, [](const CheckinSimpleEntry& entry) { EXPECT_FALSE(entry.hasUid); });
}

TEST(CheckinDate, IsWrittenAsThePlatformDoes) {
  std::set<std::string> forms;
  for (const auto& row : vectorRows("week.json")) {
    const Date now = instant(row["now"].get<std::string>());
    phoneAt(now, row["zone"], row["locale"]);
    EXPECT_EQ(formattedCheckinDate(now), row["checkin"]) << row["locale"] << row["zone"];
    forms.insert(row["checkin"]);
  }
  for (const char* form : {"05 de marzo, 2025", "05 mars 2025", "05 março 2025", "March 5, 2025"}) {
    EXPECT_TRUE(forms.contains(form)) << form;
  }
}

}  // namespace
}  // namespace glancery
