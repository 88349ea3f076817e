#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include <nlohmann/json.hpp>

#include "host/phone/extension_process.h"
#include "host/phone/memory_limit.h"
#include "platform/foundation/data/json_serialization.h"
#include "store/shared_store.h"
#include "tests/host/command_line.h"

namespace {

using namespace world;
using ::testing::HasSubstr;
using Json = nlohmann::ordered_json;
using Words = std::vector<std::string>;

const Words kMarch = {"--now", "2025-03-05T18:30:00Z", "--time-zone", "America/Mexico_City"};

std::string printed(const Phone& phone, Words words, const Words& more = kMarch) {
  words.insert(words.end(), more.begin(), more.end());
  const ProgramEnd ran = phone.glancery(words);
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.err, "");
  return ran.out;
}

/// The moods of a timeline, oldest first.
Words moods(const Phone& phone, const Words& more = kMarch) {
  Words names;
  const Json timeline = Json::parse(printed(phone, {"timeline", "Binnacle", "--json"}, more));
  for (const Json& day : timeline["entries"][0]["moodDays"]) {
    names.push_back(day["mood"]);
  }
  return names;
}

TEST(Moods, AreRecordedByDayAndTheOtherDaysStay) {
  const Phone phone;
  printed(phone, {"app", "mood", "well"});
  printed(phone, {"app", "mood", "bad", "--day", "2025-03-03"});
  printed(phone, {"app", "mood", "neutral", "--day", "2025-03-01"});
  printed(phone, {"app", "mood", "veryBad", "--day", "2025-03-03"});
  EXPECT_EQ(moods(phone),
            (Words{"emptyDay", "emptyDay", "neutral", "emptyDay", "veryBad", "emptyDay", "well"}));
  const Json timeline = Json::parse(printed(phone, {"timeline", "Binnacle", "--json"}));
  EXPECT_EQ(timeline["policy"], Json::parse(R"({"after": "2025-03-06T06:00:00.000Z"})"));
  EXPECT_EQ(timeline["entries"][0]["configuration"], "ConfigurationIntent");
  const Json& today = timeline["entries"][0]["moodDays"][6];
  EXPECT_EQ(today["date"], "2025-03-05T06:00:00.000Z");
  EXPECT_EQ(today["dayLabel"], "Hoy");
  EXPECT_EQ(timeline["log"].size(), 11u);
}

TEST(Moods, PrintTheirMembersInTheRecordsOrder) {
  const Phone phone;
  const Json timeline = Json::parse(printed(phone, {"timeline", "Binnacle", "--json"}));
  const Json placeholder = Json::parse(printed(phone, {"placeholder", "Binnacle", "--json"}));
  const std::string text = printed(phone, {"timeline", "Binnacle"});
  const Json readable =
      Json::parse(text.substr(text.find('['), text.find(']') - text.find('[') + 1));
  const Words day = {"id", "date", "dayLabel", "mood"};
  const std::pair<Json, Words> kRows[] = {
      {timeline, {"kind", "entries", "policy", "log"}},
      {timeline["entries"][0], {"date", "moodDays", "configuration", "hasUid"}},
      {timeline["entries"][0]["moodDays"][0], day},
      {placeholder, {"kind", "entry", "log"}},
      {placeholder["entry"]["moodDays"][0], day},
      {readable[0], day},
      {Json::parse(printed(phone, {"gallery", "--json"}))[0],
       {"kind", "displayName", "description", "families"}},
  };
  for (const auto& [object, expected] : kRows) {
    Words names;
    for (const auto& [name, member] : object.items()) {
      names.push_back(name);
    }
    EXPECT_EQ(names, expected);
  }
}

TEST(Moods, WrittenAtTheSameTimeAreAllStored) {
  const Phone phone;
  {
    std::vector<std::jthread> writers;
    for (const char* day : {"27", "28", "29", "30", "31"}) {
      writers.emplace_back([&phone, day] {
        printed(phone, {"app", "mood", "well", "--day", std::string("2025-03-") + day});
      });
    }
  }
  EXPECT_EQ(moods(phone, {"--now", "2025-04-01T18:30:00Z", "--time-zone", "America/Mexico_City"}),
            (Words{"emptyDay", "well", "well", "well", "well", "well", "emptyDay"}));
}

// A device with another calendar or other digits finds the days that it wrote.
TEST(Moods, AreStoredUnderTheDevicesOwnDays) {
  for (const char* locale : {"ar_EG", "th_TH", "fa_IR", "ja_JP"}) {
    const Phone phone;
    const Words there = {
        "--now", "2025-03-05T18:30:00Z", "--time-zone", "Asia/Tokyo", "--locale", locale};
    printed(phone, {"app", "mood", "well"}, there);
    printed(phone, {"app", "mood", "bad", "--day", "2025-02-28"}, there);
    EXPECT_EQ(moods(phone, there),
              (Words{"bad", "emptyDay", "emptyDay", "emptyDay", "emptyDay", "emptyDay", "well"}))
        << locale;
  }
}

TEST(Moods, ARecordThatCantBeReadIsLeftAlone) {
  const Phone phone;
  for (const Words& stored : {Words{"{\"2025-03-04\":", "text-data"},
                              Words{R"({"2025-03-04":5})", "text-data"},
                              Words{"{}", "string"}}) {
    phone.glancery({"store", "set", glancery::kMoodsDataKey, stored[0], "--type", stored[1]});
    const std::string before = phone.glancery({"store", "get", glancery::kMoodsDataKey}).out;
    const ProgramEnd ran = phone.glancery({"app", "mood", "well"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.err,
                HasSubstr("\"" + std::string(glancery::kMoodsDataKey) +
                          "\" can't be read and were left alone"));
    EXPECT_EQ(phone.glancery({"store", "get", glancery::kMoodsDataKey}).out, before);
  }
}

TEST(CheckinTaps, FindTheirFaces) {
  const Phone phone;
  EXPECT_EQ(printed(phone, {"tap", "Checkin", "41,79"}), "") << "no user is signed in";
  printed(phone, {"app", "sign-in", "u"}, {});
  const std::pair<const char*, const char*> kTaps[] = {
      {"41,79", "quiloapp://emotion/veryBad\n"},
      {"105,79", "quiloapp://emotion/bad\n"},
      {"169,79", "quiloapp://emotion/neutral\n"},
      {"233,79", "quiloapp://emotion/well\n"},
      {"297,79", "quiloapp://emotion/veryWell\n"},
      {"73,79", ""},
      {"169,20", ""},
  };
  for (const auto& [point, link] : kTaps) {
    EXPECT_EQ(printed(phone, {"tap", "Checkin", point}), link) << point;
  }
  EXPECT_EQ(printed(phone, {"tap", "Binnacle", "1,1"}), "quiloapp://binnacle\n");
}

TEST(MoodLogPicture, FollowsTheScheme) {
  const Phone phone;
  const auto list = [&](const char* scheme) {
    printed(phone, {"render", "Binnacle", "-o", phone.file("a.json").string(), "--scheme", scheme});
    return Json::parse(readWhole(phone.file("a.json")));
  };
  EXPECT_EQ(list("light")["items"][0]["color"], "#FAF6F2FF");
  EXPECT_EQ(list("light")["items"][1]["name"], "emptyDay");
  EXPECT_EQ(list("dark")["items"][0]["color"], "#242E33FF");
  EXPECT_EQ(list("dark")["items"][1]["name"], "emptyDayDark");
}

// Under a sanitizer every process is larger than the limit.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(Moods, OfTenYearsTakeATenthOfTheMemoryAllowed) {
  using namespace platform;
  const Container container;
  std::vector<Dictionary::Member> moods;
  const Date now = instant("2025-03-05T18:30:00Z");
  for (int day = 0; day < 3650; ++day) {
    moods.emplace_back(now.addingTimeInterval(-86400.0 * day).iso8601().substr(0, 10), "well");
  }
  NSUserDefaults::initWithSuiteName(glancery::kAppGroupIdentifier)
      ->setObject(*NSJSONSerialization::dataWithJSONObject(Dictionary(moods)),
                  glancery::kMoodsDataKey);
  const auto extension =
      host::ExtensionProcess::start(std::filesystem::path(GLANCERY_BUILD) / "Glancery.appex");
  ASSERT_TRUE(extension) << extension.error().reason;
  const Device device = {.clock = Clock::frozenAt(now)};
  ASSERT_TRUE((*extension)->ask(ConfigureRequest{device, container.path().string(), {}}));
  for (int look = 0; look < 3; ++look) {
    const auto answer = (*extension)
                            ->ask(ProvideRequest{ProvideRequest::What::timeline,
                                                 "Binnacle",
                                                 {WidgetFamily::systemMedium, {306, 126}}});
    ASSERT_TRUE(answer) << answer.error().reason;
    const auto& entry = std::get<ArchivedTimeline>(*answer).entries.at(0);
    EXPECT_NE(entry.fields.find(R"("mood":"well")"), std::string::npos) << entry.fields;
  }
  EXPECT_LT(host::dirtyMemoryOf((*extension)->pid()), std::size_t{3} << 20);
}
#endif

}  // namespace
