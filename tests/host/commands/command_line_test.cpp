#include "tests/host/command_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "store/shared_store.h"

namespace {

using namespace world;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::ordered_json;
using Words = std::vector<std::string>;

Json json(const ProgramEnd& ran) {
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.err, "");
  return Json::parse(ran.out);
}

TEST(CommandLine, TheGalleryIsInOrderAndInTheUsersLanguage) {
  const Phone phone;
  const Json gallery = json(phone.glancery({"gallery", "--json", "--locale", "en_GB"}));
  std::vector<std::string> kinds;
  for (const Json& item : gallery) {
    kinds.push_back(item["kind"]);
    EXPECT_FALSE(item["displayName"].get<std::string>().ends_with("_TITLE"));
  }
  EXPECT_EQ(kinds, (Words{"Checkin", "StreakWidget", "AffirmationWidget", "Binnacle"}));
  EXPECT_EQ(gallery[1]["families"], Json({"systemSmall"}));
  EXPECT_NE(gallery, json(phone.glancery({"gallery", "--json", "--locale", "fr_FR"})));
}

TEST(CommandLine, AStoredStreakIsInTheTimeline) {
  const Phone phone;
  const Words timeline = {"timeline",
                          "StreakWidget",
                          "--json",
                          "--now",
                          "2024-03-05T10:00:00-06:00",
                          "--time-zone",
                          "America/Mexico_City"};
  ASSERT_EQ(phone.glancery({"app", "streak", "12", "--last-active", "2024-03-05T06:00:00Z"}).status,
            0);
  const Json first = json(phone.glancery(timeline));
  EXPECT_EQ(first, Json::parse(R"({
    "kind": "StreakWidget",
    "entries": [{
      "date": "2024-03-05T16:00:00.000Z",
      "displayStreakCount": 12,
      "backgroundImageName": "streakBg_success1",
      "displayType": "successCounter",
      "failMessageKey": null,
      "timeBasedMessageKey": null,
      "showTimeBasedText": false,
      "flameImageName": "flame"}],
    "policy": {"after": "2024-03-05T18:00:00.000Z"},
    "log": [
      "[StreakProvider] Deserialized streakCount: 12, lastStreakDate: 2024-03-05 06:00:00 +0000",
      "[StreakProvider] Maintained Today. Index updated: 0 -> 1.",
      "[StreakProvider] Timeline generated. Entry: Count=12, Bg=streakBg_success1, Type=successCounter, ShowTimeText=false, Flame=flame. Next update: 2024-03-05 18:00:00 +0000"]
  })"));
  // The order of the members counts as well.
  EXPECT_EQ(first.dump().substr(0, 24), R"({"kind":"StreakWidget",")");
  EXPECT_EQ(json(phone.glancery(timeline))["entries"][0]["backgroundImageName"],
            "streakBg_success2");

  const Json suite = json(phone.glancery({"store", "dump"}));
  EXPECT_EQ(suite[glancery::kSuccessImageIndexKey], 1);
  EXPECT_EQ(suite[glancery::kSuccessIndexLastUpdateDateKey], "2024-03-05T16:00:00.000Z");
  const ProgramEnd plist = run("/usr/bin/plistutil", {"-i", phone.suiteFile().string()});
  EXPECT_EQ(plist.status, 0);
  EXPECT_THAT(plist.out, HasSubstr("<date>2024-03-05T16:00:00Z</date>"));
}

TEST(CommandLine, PlaceholderAndSnapshotAreOneEntryWithoutAPolicy) {
  const Phone phone;
  const Json placeholder = json(phone.glancery({"placeholder", "StreakWidget", "--json"}));
  EXPECT_EQ(placeholder["entry"]["displayStreakCount"], 5);
  EXPECT_FALSE(placeholder.contains("policy"));
  const Json snapshot = json(phone.glancery({"snapshot", "StreakWidget", "--json"}));
  EXPECT_EQ(snapshot["entry"]["displayStreakCount"], 10);
  EXPECT_EQ(snapshot["log"].size(), 1u);
}

TEST(CommandLine, RendersPicturesAndDisplayLists) {
  const Phone phone;
  const auto render = [&](const std::string& file, Words more) {
    Words words = {"render",
                   "StreakWidget",
                   "-o",
                   phone.file(file).string(),
                   "--locale",
                   "en_US",
                   "--now",
                   "2024-03-05T21:00:00Z",
                   "--time-zone",
                   "UTC"};
    words.insert(words.end(), more.begin(), more.end());
    const ProgramEnd ran = phone.glancery(words);
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_EQ(ran.err, "");
    return readWhole(phone.file(file));
  };
  const Json list = Json::parse(render("list.json", {}));
  EXPECT_EQ(list["size"], Json::parse(R"({"width": 158, "height": 158})"));
  EXPECT_EQ(list["widgetURL"], "quiloapp://streak");
  EXPECT_EQ(
      list["items"][0],
      Json::parse(R"({"type": "image", "frame": [-3, -3, 164, 164], "name": "streakBg_night"})"));
  EXPECT_EQ(list["items"][1]["name"], "flameEnd");
  EXPECT_EQ(list["items"][2]["text"], "0");
  EXPECT_EQ(list["items"][3]["font"],
            Json::parse(R"({"family": "system", "size": 14, "weight": 600})"));
  // Before version 17 there are no margins to cover.
  EXPECT_EQ(Json::parse(render("old.json", {"--os", "16.4"}))["items"][0]["frame"],
            Json({0, 0, 158, 158}));
  EXPECT_EQ(Json::parse(render("small.json", {"--device", "375x667"}))["size"]["width"], 148);

  const std::string png = render("picture.png", {});
  EXPECT_THAT(png, StartsWith("\x89PNG\r\n\x1A\n"));
  const auto dimension = [&](std::size_t at) {
    return static_cast<unsigned char>(png[at + 2]) * 256 + static_cast<unsigned char>(png[at + 3]);
  };
  EXPECT_EQ(dimension(16), 474);
  EXPECT_EQ(dimension(20), 474);
  EXPECT_EQ(png, render("again.png", {})) << "the same image is the same bytes";
  EXPECT_NE(png, render("snapshot.png", {"--of", "snapshot"}));
  EXPECT_THAT(render("picture.svg", {}), HasSubstr("<svg"));
}

TEST(CommandLine, AMissingImageIsReportedAndTheRestIsDrawn) {
  const Phone phone;
  phone.glancery({"app", "streak", "3", "--last-active", "2024-03-05T10:00:00Z"});
  phone.glancery({"store", "set", glancery::kSuccessImageIndexKey, "-3", "--type", "integer"});
  const ProgramEnd ran = phone.glancery({"render",
                                         "StreakWidget",
                                         "-o",
                                         phone.file("a.png").string(),
                                         "--now",
                                         "2024-03-05T21:00:00Z",
                                         "--time-zone",
                                         "UTC"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(ran.err,
            "glancery: the bundle has no image \"streakBg_success-2\"; nothing was drawn there\n");
  EXPECT_TRUE(std::filesystem::exists(phone.file("a.png")));
}

TEST(CommandLine, TheStreakTextFitsTheSmallestPhoneBesideTwoDigits) {
  const Phone phone;
  phone.glancery({"app", "streak", "28", "--last-active", "2024-03-04T12:00:00Z"});
  const std::string file = phone.file("list.json").string();
  for (const char* locale : {"es_MX", "en_US", "pt_BR", "fr_FR"}) {
    for (const char* hour : {"04", "08", "10", "12", "14", "16", "18", "20", "22"}) {
      phone.glancery({"render",
                      "StreakWidget",
                      "-o",
                      file,
                      "--device",
                      "375x667",
                      "--locale",
                      locale,
                      "--now",
                      std::string("2024-03-05T") + hour + ":00:00Z",
                      "--time-zone",
                      "UTC"});
      const Json list = Json::parse(readWhole(file));
      ASSERT_EQ(list["items"].size(), 4u);
      for (const Json& item : list["items"]) {
        const double left = item["frame"][0];
        const double right = left + item["frame"][2].get<double>();
        const bool backdrop = item["type"] == "image" && item["frame"][2] > 100;
        EXPECT_TRUE(backdrop || (left >= 0 && right <= 148)) << locale << " at " << hour << item;
        EXPECT_TRUE(item["type"] != "text" || item["lines"].size() <= 4) << locale << hour << item;
      }
    }
  }
}

TEST(CommandLine, TheStreakAlwaysOpensItsDeepLink) {
  const Phone phone;
  for (const Words& where : {Words{}, Words{"0,0"}, Words{"157.9,100"}}) {
    Words words = {"tap", "StreakWidget"};
    words.insert(words.end(), where.begin(), where.end());
    EXPECT_EQ(phone.glancery(words).out, "quiloapp://streak\n");
  }
}

TEST(CommandLine, StoresEveryTypeOfValue) {
  const Phone phone;
  const std::tuple<const char*, const char*, const char*> kValues[] = {
      {"string", "añb", "\"añb\"\n"},
      {"integer", "9223372036854775807", "9223372036854775807\n"},
      {"real", "1.5", "1.5\n"},
      {"boolean", "false", "false\n"},
      {"date", "2026-03-05T08:30:00.25Z", "\"2026-03-05T08:30:00.250Z\"\n"},
      {"data", "AAE=", "{\n  \"data\": \"AAE=\"\n}\n"},
      {"text-data", "{}", "{\n  \"data\": \"e30=\"\n}\n"},
  };
  for (const auto& [type, value, printed] : kValues) {
    EXPECT_EQ(phone.glancery({"store", "set", type, value, "--type", type}).err, "");
    EXPECT_EQ(phone.glancery({"store", "get", type}).out, printed);
  }
  EXPECT_EQ(json(phone.glancery({"store", "dump"})).size(), std::size(kValues));
  EXPECT_EQ(phone.glancery({"store", "delete", "real"}).status, 0);
  const ProgramEnd gone = phone.glancery({"store", "get", "real"});
  EXPECT_EQ(gone.status, 1);
  EXPECT_THAT(gone.err, HasSubstr("\"real\": the suite holds boolean, data, date"));
}

TEST(CommandLine, SigningInAndOut) {
  const Phone phone;
  EXPECT_EQ(phone.glancery({"app", "sign-in", "u-1"}).status, 0);
  EXPECT_EQ(phone.glancery({"store", "get", glancery::kSharedUidKey}).out, "\"u-1\"\n");
  EXPECT_EQ(phone.glancery({"app", "sign-out"}).status, 0);
  EXPECT_EQ(phone.glancery({"app", "sign-out"}).status, 0) << "signed out already";
  EXPECT_EQ(phone.glancery({"store", "get", glancery::kSharedUidKey}).status, 1);
}

struct Mistake {
  const char* name;
  Words words;
  int status;
  /// In the one line on standard error.
  Words says;
  friend void PrintTo(const Mistake& row, std::ostream* out) { *out << row.name; }
};

const Mistake kMistakes[] = {
    {"unknownKind", {"timeline", "Streak"}, 2, {"\"Streak\"", "Checkin, StreakWidget"}},
    {"unknownZone",
     {"timeline", "StreakWidget", "--time-zone", "Mars/Olympus"},
     2,
     {"Mars/Olympus", "America/Mexico_City"}},
    {"zoneOutsideTheDatabase",
     {"timeline", "StreakWidget", "--time-zone", "../../etc/passwd"},
     2,
     {"../../etc/passwd"}},
    {"unknownLocale", {"timeline", "StreakWidget", "--locale", "qqq_QQ"}, 2, {"qqq_QQ", "es_MX"}},
    {"unknownDevice", {"timeline", "StreakWidget", "--device", "1x1"}, 2, {"\"1x1\"", "390x844"}},
    {"malformedInstant",
     {"timeline", "StreakWidget", "--now", "2024-02-30T00:00:00Z"},
     2,
     {"2024-02-30", "2026-03-05T08:30:00Z"}},
    {"instantWithoutAZone",
     {"timeline", "StreakWidget", "--now", "2024-02-20T00:00:00"},
     2,
     {"2024-02-20"}},
    {"malformedSize",
     {"render", "StreakWidget", "-o", "a.png", "--size", "158"},
     2,
     {"\"158\"", "338x158"}},
    {"sizeBeyondReason",
     {"render", "StreakWidget", "-o", "a.png", "--size", "1e9x2"},
     2,
     {"1e9x2"}},
    {"malformedScale",
     {"render", "StreakWidget", "-o", "a.png", "--scale", "9"},
     2,
     {"9", "1 to 4"}},
    {"scaleThatIsNoNumber",
     {"render", "StreakWidget", "-o", "a.png", "--scale", "nan"},
     2,
     {"--scale \"nan\"", "1 to 4"}},
    {"malformedScheme", {"gallery", "--scheme", "sepia"}, 2, {"sepia", "light or dark"}},
    {"malformedVersion", {"gallery", "--os", "seventeen"}, 2, {"seventeen", "17.0"}},
    {"hugeVersion", {"gallery", "--os", "17.1000001"}, 2, {"17.1000001", "17.0"}},
    {"malformedInfo", {"gallery", "--info", "KEY"}, 2, {"\"KEY\"", "KEY=VALUE"}},
    {"malformedPoint", {"tap", "StreakWidget", "12"}, 2, {"\"12\"", "40,79"}},
    {"pointOutside", {"tap", "StreakWidget", "158,0"}, 2, {"158,0", "158x158"}},
    {"unknownEnding", {"render", "StreakWidget", "-o", "a.gif"}, 2, {"a.gif", ".png"}},
    {"unknownRequest", {"render", "StreakWidget", "-o", "a.png", "--of", "dream"}, 2, {"dream"}},
    {"entryBeyondTheTimeline",
     {"render", "StreakWidget", "-o", "a.png", "--entry", "1"},
     2,
     {"\"1\"", "1 entries"}},
    {"unwritableOutput",
     {"render", "StreakWidget", "-o", "/nonexistent/a.png"},
     1,
     {"/nonexistent/a.png", "No such file"}},
    {"missingBundle",
     {"gallery", "--extension", "/nonexistent.appex"},
     1,
     {"/nonexistent.appex", "--extension DIR"}},
    {"folderWithoutAProgram", {"gallery", "--extension", "/usr"}, 1, {"/usr", "no program"}},
    {"malformedStreak", {"app", "streak", "many"}, 2, {"many"}},
    {"malformedLastActive", {"app", "streak", "3", "--last-active", "yesterday"}, 2, {"yesterday"}},
    {"unknownMood",
     {"app", "mood", "Well"},
     2,
     {"\"Well\"", "veryBad, bad, neutral, well, veryWell"}},
    {"malformedDay",
     {"app", "mood", "well", "--day", "2025-02-29"},
     2,
     {"2025-02-29", "2026-03-05"}},
    {"dayThatTheZoneSkipped",
     {"app", "mood", "well", "--day", "2011-12-30", "--time-zone", "Pacific/Apia"},
     2,
     {"2011-12-30", "Pacific/Apia"}},
    {"unknownLocaleOfAMood", {"app", "mood", "well", "--locale", "qqq"}, 2, {"qqq"}},
    {"emptyUser", {"app", "sign-in", ""}, 2, {"user \"\""}},
    {"wordOfAnotherType",
     {"store", "set", "k", "1.5", "--type", "integer"},
     2,
     {"\"1.5\"", "whole number"}},
    {"unknownType",
     {"store", "set", "k", "v", "--type", "colour"},
     2,
     {"colour", "string, integer"}},
    {"unknownCommand", {"dance"}, 2, {"\"dance\"", "gallery, placeholder"}},
    {"unknownCommandOfAGroup", {"store", "burn"}, 2, {"\"burn\"", "get, delete"}},
    {"noCommandOfAGroup", {"store"}, 2, {"subcommand"}},
};

class Mistakes : public ::testing::TestWithParam<Mistake> {};

TEST_P(Mistakes, AreNamedInOneLine) {
  const Phone phone;
  const ProgramEnd ran = phone.glancery(GetParam().words);
  EXPECT_EQ(ran.status, GetParam().status) << ran.err;
  EXPECT_EQ(ran.out, "");
  for (const std::string& said : GetParam().says) {
    EXPECT_THAT(ran.err, HasSubstr(said));
  }
  EXPECT_THAT(ran.err, EndsWith("\n"));
  EXPECT_EQ(std::ranges::count(ran.err, '\n'), 1) << ran.err;
}

INSTANTIATE_TEST_SUITE_P(Words, Mistakes, ::testing::ValuesIn(kMistakes), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(CommandLine, AContainerThatIsAFileIsNamed) {
  const Phone phone;
  writeWhole(phone.container(), "not a folder");
  const ProgramEnd ran = phone.glancery({"timeline", "StreakWidget"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_THAT(ran.err, HasSubstr(phone.container().string()));
}

TEST(CommandLine, AnUnreadableSuiteStillGivesATimeline) {
  const Phone phone;
  std::filesystem::create_directories(phone.suiteFile());
  const Json timeline = json(phone.glancery({"timeline", "StreakWidget", "--json"}));
  EXPECT_EQ(timeline["entries"][0]["displayType"], "failMessage");
  EXPECT_EQ(timeline["log"][0], "[StreakProvider] Error: Could not access shared UserDefaults");
  EXPECT_EQ(phone.glancery({"store", "dump"}).status, 1);
}

TEST(CommandLine, AnOverflowInTheExtensionIsReported) {
  const Phone phone;
  phone.glancery({"app", "streak", "3", "--last-active", "2024-03-05T10:00:00Z"});
  phone.glancery({"store",
                  "set",
                  glancery::kSuccessImageIndexKey,
                  "9223372036854775807",
                  "--type",
                  "integer"});
  const ProgramEnd ran = phone.glancery(
      {"timeline", "StreakWidget", "--now", "2024-03-05T21:00:00Z", "--time-zone", "UTC"});
  EXPECT_EQ(ran.status, 1);
  EXPECT_THAT(ran.err,
              HasSubstr("the extension crashed: Aborted (Fatal error: arithmetic overflow"));
}

TEST(CommandLine, TheExtensionStartedByHandSaysWhatItIs) {
  const ProgramEnd ran = run(std::string(GLANCERY_BUILD) + "/Glancery.appex/Glancery", {});
  EXPECT_EQ(ran.status, 2);
  EXPECT_THAT(ran.err, HasSubstr("a widget host starts it"));
}

}  // namespace
