#include "network/network_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

#include <nlohmann/json.hpp>

#include "platform/foundation/json_serialization.h"
#include "store/shared_store.h"
#include "tests/network/client_world.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using Lines = std::vector<std::string>;

const Lines kStart = {"[NetworkManager - Glancery] fetchAffirmation called."};
const std::string kNoUid =
    "[NetworkManager - Glancery] Error: Attempted fetchAffirmation without a valid UID in "
    "UserDefaults. Aborting.";
const std::string kNoConfiguration =
    "[NetworkManager - Glancery] Error: ApiBaseUrl or ApiKey not found or invalid in Glancery "
    "Info.plist. Check configuration.";
const std::string kUid = "[NetworkManager - Glancery] UID read from UserDefaults: u-1";
const std::string kNilLocation = "[NetworkManager BG] cleanupAndComplete called with nil location.";

/// Fetches, lets the main queue run, and returns what was logged.
Lines fetch() {
  NetworkManager::shared();  // Its first use has a line of its own.
  const CapturedLog log;
  NetworkManager::shared().fetchAffirmation();
  runMainQueue();
  return log.lines();
}

nlohmann::json bodyOf(const NSURLRequest& request) {
  return nlohmann::json::parse(request.httpBody().value_or(Data()).bytes);
}

TEST(AffirmationRequest, IsExactlyWhatTheServerExpects) {
  const ClientWorld world;
  const Lines log = fetch();
  ASSERT_EQ(asked().downloads.size(), 1u);
  const NSURLRequest& request = asked().downloads[0];
  EXPECT_EQ(request.url().absoluteString(), "https://api.example.com/api/widgets/get_affirmation");
  EXPECT_EQ(request.httpMethod(), "POST");
  EXPECT_EQ(request.timeoutInterval(), 60);
  EXPECT_EQ(request.allHTTPHeaderFields(),
            (NSURLRequest::Headers{{"Content-Type", "application/json"}, {"X-API-KEY", "k-1"}}));
  EXPECT_EQ(bodyOf(request), nlohmann::json::parse(R"({
    "locale": "es", "timezone": "UTC-6", "appVersion": "4.47.3", "uid": "u-1",
    "user_os": "ios", "os": "ios", "internal": {"events": []}})"));
  EXPECT_THAT(
      log,
      ElementsAre(
          kStart[0],
          kUid,
          "[NetworkManager - Glancery] Using Base URL from Info.plist: https://api.example.com",
          "[NetworkManager - Glancery] API Key found in Info.plist.",
          "--- Sending Affirmation Request ---",
          "[NetworkManager - Glancery] Sending Request Body: locale=es, timezone=UTC-6, "
          "appVersion=4.47.3, uid='u-1' to URL: "
          "https://api.example.com/api/widgets/get_affirmation",
          "-----------------------------------",
          "[NetworkManager - Glancery] Starting background download task for affirmation."));
}

TEST(AffirmationRequest, TellsWholeHoursAndTheLanguageAlone) {
  const ClientWorld world;
  const std::tuple<const char*, const char*, const char*> kCases[] = {
      {"UTC", "es_MX", "UTC+0"},
      {"Europe/Madrid", "en_GB", "UTC+1"},
      {"Asia/Kolkata", "fr", "UTC+5"},
      {"Asia/Kathmandu", "pt_BR", "UTC+5"},
      {"Pacific/Chatham", "ar_EG@numbers=latn", "UTC+13"},
      {"Pacific/Marquesas", "zh-Hant-TW", "UTC-9"},
      {"America/St_Johns", "es", "UTC-3"},
  };
  for (const auto& [zone, locale, expected] : kCases) {
    phoneAt(instant("2024-03-05T10:00Z"), zone, locale);
    asked() = {};
    fetch();
    const auto body = bodyOf(asked().downloads.at(0));
    EXPECT_EQ(body["timezone"], expected) << zone;
    EXPECT_EQ(body["locale"], std::string(locale).substr(0, 2));
  }
}

struct Configured {
  const char* name;
  Dictionary info;
  Value uid;
  /// The last line before the nil location, or the address that is asked.
  std::string says;
  std::string asks;
  friend void PrintTo(const Configured& row, std::ostream* out) { *out << row.name; }
};

const Configured kConfigured[] = {
    {"noUser", {{"ApiBaseUrl", "http://a"}, {"ApiKey", "k"}}, Value(), kNoUid, ""},
    {"emptyUser", {{"ApiBaseUrl", "http://a"}, {"ApiKey", "k"}}, "", kNoUid, ""},
    {"userWhoIsNoString", {{"ApiBaseUrl", "http://a"}, {"ApiKey", "k"}}, false, kNoUid, ""},
    {"noAddress", {{"ApiKey", "k"}}, "u-1", kNoConfiguration, ""},
    {"emptyAddress", {{"ApiBaseUrl", ""}, {"ApiKey", "k"}}, "u-1", kNoConfiguration, ""},
    {"addressOfAnotherType", {{"ApiBaseUrl", 5}, {"ApiKey", "k"}}, "u-1", kNoConfiguration, ""},
    {"noKey", {{"ApiBaseUrl", "http://a"}}, "u-1", kNoConfiguration, ""},
    {"keyOfAnotherType",
     {{"ApiBaseUrl", "http://a"}, {"ApiKey", true}},
     "u-1",
     kNoConfiguration,
     ""},
    {"invalidAddress",
     {{"ApiBaseUrl", "http://[::1"}, {"ApiKey", "k"}},
     "u-1",
     "[NetworkManager - Glancery] Error: Invalid URL constructed: "
     "http://[::1/api/widgets/get_affirmation",
     ""},
    {"emptyKeyOnlyWarns",
     {{"ApiBaseUrl", "http://a"}, {"ApiKey", ""}},
     "u-1",
     "",
     "http://a/api/widgets/get_affirmation"},
    {"addressesAreJoinedAsTheyAre",
     {{"ApiBaseUrl", "http://a/v2/"}, {"ApiKey", "k"}},
     "u-1",
     "",
     "http://a/v2//api/widgets/get_affirmation"},
};

class Configurations : public ::testing::TestWithParam<Configured> {};

TEST_P(Configurations, AskOrSayWhyNotAndLetThePlatformGo) {
  const Configured& row = GetParam();
  const ClientWorld world(row.info);
  if (row.uid.isNull()) {
    ClientWorld::suite().removeObjectForKey(kSharedUidKey);
  } else {
    ClientWorld::suite().setObject(row.uid, kSharedUidKey);
  }
  int completed = 0;
  NetworkManager::shared().backgroundCompletionHandler = [&] { ++completed; };
  const Lines log = fetch();
  EXPECT_EQ(log.front(), kStart[0]);
  if (row.asks.empty()) {
    EXPECT_THAT(asked().downloads, IsEmpty());
    EXPECT_EQ(log.at(log.size() - 2), row.says);
    EXPECT_EQ(log.back(), kNilLocation);
  } else {
    EXPECT_EQ(asked().downloads.at(0).url().absoluteString(), row.asks);
  }
  EXPECT_EQ(completed, row.asks.empty() ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Bundles,
                         Configurations,
                         ::testing::ValuesIn(kConfigured),
                         [](const auto& row) { return std::string(row.param.name); });

// Answers

/// Delivers a result as the host would, and waits until the delegate has dealt with it.
Lines deliver(const ClientWorld& world,
              std::optional<std::int64_t> status,
              const std::optional<std::string>& body,
              std::optional<NSError> error = std::nullopt) {
  NetworkManager::shared();
  const auto file = world.folder() / "body";
  if (body) {
    writeWhole(file, *body);
  }
  const CapturedLog log;
  std::promise<void> done;
  NSURLSession::withIdentifier(kBackgroundSessionIdentifier)
      ->deliver({.session = kBackgroundSessionIdentifier,
                 .url = "http://a/",
                 .file = file.string(),
                 .status = status,
                 .error = std::move(error)},
                [&] { done.set_value(); });
  done.get_future().wait();
  runMainQueue();
  EXPECT_FALSE(std::filesystem::exists(file)) << "the temporary file stays";
  return log.lines();
}

struct Answer {
  const char* name;
  std::optional<std::int64_t> status;
  std::string body;
  /// The stored record; nothing where it stays as it was.
  std::optional<Dictionary> record;
  /// Lines that must be there, as they begin, in this order.
  Lines says;
  friend void PrintTo(const Answer& row, std::ostream* out) { *out << row.name; }
};

const std::string kFailed = "[NetworkManager BG] Failed to parse JSON correctly.";
const std::string kParsedNothing =
    "[NetworkManager BG] Parsed result from temp file: Text='nil', Color='nil'";
const std::string kRaw = "[NetworkManager BG] Raw temp file content: ";
const std::string kBadStatus =
    "[NetworkManager BG] Download task completed with non-success status: ";
const std::string kErrorBody = "[NetworkManager BG] Error response body: ";
const std::string kNotJSON =
    "[NetworkManager - Glancery BG Parsing] JSON parsing error: The data couldn’t be read because "
    "it isn’t in the correct format.";

Dictionary record(const char* text, const char* color) {
  return {{"text", text}, {"color", color}};
}

const std::string kGood = R"({"text":"Hola \ud83c\udf31","color":"gold","more":[1]})";

const Answer kAnswers[] = {
    {"good", 200, kGood, record("Hola 🌱", "gold"), {"[NetworkManager BG] HTTP Status Code: 200"}},
    {"lastGoodStatus", 299, kGood, record("Hola 🌱", "gold"), {}},
    {"below", 199, kGood, {}, {kBadStatus + "199", kErrorBody + kGood}},
    {"above", 300, kGood, {}, {kBadStatus + "300", kErrorBody + kGood}},
    {"serverError", 503, "later", {}, {kBadStatus + "503", kErrorBody + "later"}},
    {"errorBodyIsNeverCut", 500, std::string(5000, 'x'), {}, {kErrorBody + std::string(5000, 'x')}},
    {"errorBodyOfBytesIsSilent", 600, "\xFF\xFE", {}, {kBadStatus + "600"}},
    {"noHTTP", {}, kGood, {}, {"[NetworkManager BG] No HTTP response received."}},
    {"noColour", 200, R"({"text":"Hola"})", record("Hola", "blush"), {}},
    {"colourOfAnotherType", 200, R"({"text":"Hola","color":3})", record("Hola", "blush"), {}},
    {"emptyTextIsKept", 200, R"({"text":"","color":""})", record("", ""), {}},
    {"noText",
     200,
     R"({"color":"sky"})",
     {},
     {"[NetworkManager - Glancery BG Parsing] Found text: nil, color: sky directly in JSON.",
      "[NetworkManager BG] Parsed result from temp file: Text='nil', Color='sky'",
      kFailed,
      kRaw + R"({"color":"sky"})"}},
    {"textOfAnotherType", 200, R"({"text":null})", {}, {kParsedNothing, kFailed}},
    {"array",
     200,
     "[]",
     {},
     {"[NetworkManager - Glancery BG Parsing] Failed to cast JSON object to [String: Any].",
      kParsedNothing,
      kFailed,
      kRaw + "[]"}},
    {"notJSON", 200, "<html>", {}, {kNotJSON, kParsedNothing, kFailed, kRaw + "<html>"}},
    {"empty", 204, "", {}, {kNotJSON, kParsedNothing, kFailed, kRaw}},
    {"notUTF8", 200, "\xFF", {}, {kNotJSON, kParsedNothing, kFailed, kRaw + "Invalid encoding"}},
    {"largestLoggedBody",
     200,
     std::string(1023, 'x'),
     {},
     {kFailed, kRaw + std::string(1023, 'x')}},
};

class Answers : public ::testing::TestWithParam<Answer> {};

TEST_P(Answers, AreStoredOrExplained) {
  const Answer& row = GetParam();
  const ClientWorld world;
  const Data before{R"({"text":"before","color":"sky"})"};
  ClientWorld::suite().setObject(before, kAffirmationDataKey);
  ClientWorld::suite().setObject("old", kObsoleteAffirmationColorKey);
  int completed = 0;
  NetworkManager::shared().backgroundCompletionHandler = [&] { ++completed; };

  const Lines log = deliver(world, row.status, row.body);

  auto line = log.begin();
  for (const std::string& says : row.says) {
    line = std::find_if(line, log.end(), [&](const auto& said) { return said.starts_with(says); });
    EXPECT_NE(line, log.end()) << says;
  }
  const auto stored = *ClientWorld::suite().dataForKey(kAffirmationDataKey);
  if (row.record) {
    EXPECT_EQ(NSJSONSerialization::JSONObjectWithData(stored).value(), Value(*row.record));
  } else {
    EXPECT_EQ(stored, before);
  }
  EXPECT_EQ(asked().reloads, row.record ? Lines{kAffirmationKind} : Lines{});
  EXPECT_EQ(ClientWorld::suite().objectForKey(kObsoleteAffirmationColorKey).has_value(),
            !row.record);
  EXPECT_EQ(completed, 1);
  EXPECT_FALSE(NetworkManager::shared().backgroundCompletionHandler);
}

INSTANTIATE_TEST_SUITE_P(Servers, Answers, ::testing::ValuesIn(kAnswers), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(DownloadCompletion, BodiesOf1024BytesStayOutOfTheLog) {
  const ClientWorld world;
  EXPECT_EQ(deliver(world, 200, std::string(1024, 'x')).at(4), kFailed);
  for (const std::string& line : deliver(world, 200, std::string(1 << 20, '['))) {
    EXPECT_FALSE(line.starts_with(kRaw));
  }
}

TEST(DownloadCompletion, GoesInTheOrderThatThePlatformExpects) {
  const ClientWorld world;
  const Lines log = deliver(world, 200, R"({"text":"Hola","color":"sky"})");
  const std::string location = "file://" + (world.folder() / "body").string();
  // What the main queue does may come between the lines of the delegate's.
  EXPECT_THAT(
      log,
      ::testing::IsSupersetOf(
          {"[NetworkManager BG] Download task finished. Location: " + location + ".",
           std::string("[NetworkManager BG Saving] Preparing affirmation dict: [\"color\": "
                       "\"sky\", \"text\": \"Hola\"]"),
           std::string("[NetworkManager BG Saving] Saved serialized affirmation data for key "
                       "affirmationData."),
           std::string("[NetworkManager BG Saving] Reloading timelines for AffirmationWidget."),
           "[NetworkManager BG] Cleaned up temp file at: " + location}));
  const auto place = [&](std::string_view start) {
    return std::ranges::find_if(log, [&](const auto& line) { return line.starts_with(start); });
  };
  EXPECT_LT(place("[NetworkManager BG Saving] Saved"), place("[NetworkManager BG] Cleaned up"));
  EXPECT_LT(place("[NetworkManager BG] Cleaned up"),
            place("[NetworkManager BG] Task completed successfully (no explicit error reported). "
                  "Final status/cleanup handled in didFinishDownloadingTo."));
}

TEST(DownloadCompletion, AMissingFileIsSaidTwice) {
  const ClientWorld world;
  const Lines log = deliver(world, 200, std::nullopt);
  const std::string location = "file://" + (world.folder() / "body").string();
  EXPECT_EQ(log.at(2),
            "[NetworkManager BG] Could not read data from temp file location: " + location +
                ". This might be expected for POST.");
  EXPECT_THAT(log.at(3),
              StartsWith("[NetworkManager BG] Error removing temp file at " + location + ": "));
}

TEST(DownloadCompletion, AnErrorEndsATaskWithoutALocation) {
  const ClientWorld world;
  const NSError lost = {NSURLErrorDomain, -1005, "The network connection was lost."};
  EXPECT_THAT(deliver(world, 206, std::nullopt, lost),
              ElementsAre("[NetworkManager BG] Task completed with error: The network connection "
                          "was lost.",
                          "[NetworkManager BG] Error context - HTTP Status: 206",
                          kNilLocation));
  EXPECT_EQ(deliver(world, {}, std::nullopt, lost).size(), 2u);
}

TEST(DownloadCompletion, ASuiteThatCantBeOpenedSavesNothing) {
  const ClientWorld world;
  world.breakSuite();
  EXPECT_THAT(deliver(world, 200, kGood),
              ::testing::Contains("[NetworkManager BG Saving] Error: Failed to access UserDefaults "
                                  "suite for saving."));
  EXPECT_THAT(asked().reloads, IsEmpty());
}

TEST(DownloadCompletion, AHostThatRefusesEndsTheTask) {
  const ClientWorld world;
  asked().refusal = NSError{NSURLErrorDomain, -1002, "unsupported URL"};
  std::promise<void> done;
  const CapturedLog log;
  NetworkManager::shared().fetchAffirmation();
  NSURLSession::withIdentifier(kBackgroundSessionIdentifier)->finishEvents([&] {
    done.set_value();
  });
  done.get_future().wait();
  runMainQueue();
  EXPECT_THAT(log.lines(),
              ::testing::Contains("[NetworkManager BG] Task completed with error: unsupported "
                                  "URL"));
}

TEST(BackgroundEvents, OnlyTheLastHandlerIsCalledAndOnlyOnce) {
  const ClientWorld world;
  int first = 0;
  int second = 0;
  NetworkManager::shared().backgroundCompletionHandler = [&] { ++first; };
  NetworkManager::shared().backgroundCompletionHandler = [&] { ++second; };
  deliver(world, 200, kGood);
  deliver(world, 200, kGood);
  EXPECT_EQ(first, 0);
  EXPECT_EQ(second, 1);
}

}  // namespace
}  // namespace glancery
