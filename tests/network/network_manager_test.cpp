#include "network/network_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <thread>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/foundation/data/json_serialization.h"
#include "store/shared_store.h"
#include "tests/network/client_world.h"

/// Runs once, at the next `fsync` of this process.
std::function<void()> onFlush;

/// Replaces the system's function.
extern "C" int fsync(int file) {
  if (const auto hook = std::exchange(onFlush, nullptr)) {
    hook();
  }
  return static_cast<int>(::syscall(SYS_fsync, file));
}

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using ::testing::_;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;
using Lines = std::vector<std::string>;
using Says = std::vector<::testing::Matcher<std::string>>;

const std::thread::id mainThread = std::this_thread::get_id();

const std::string kStart = "[NetworkManager - Glancery] fetchAffirmation called.";
const std::string kNoUid =
    "[NetworkManager - Glancery] Error: Attempted fetchAffirmation without a valid UID in "
    "UserDefaults. Aborting.";
const std::string kNoConfiguration =
    "[NetworkManager - Glancery] Error: ApiBaseUrl or ApiKey not found or invalid in Glancery "
    "Info.plist. Check configuration.";
const std::string kUid = "[NetworkManager - Glancery] UID read from UserDefaults: u-1";
const std::string kBaseURL = "[NetworkManager - Glancery] Using Base URL from Info.plist: ";
const std::string kKey = "[NetworkManager - Glancery] API Key found in Info.plist.";
const std::string kNilLocation = "[NetworkManager BG] cleanupAndComplete called with nil location.";

/// Fetches, lets the main queue run, and returns what was logged.
Lines fetch() {
  const CapturedLog log;
  NetworkManager::shared().fetchAffirmation();
  runMainQueue();
  return log.lines();
}

nlohmann::json bodyOf(const NSURLRequest& request) {
  return nlohmann::json::parse(request.httpBody().value_or(Data()).bytes);
}

TEST(NetworkManager, MakesItsSessionInTheSharedContainerAndSaysSo) {
  const ClientWorld world;
  EXPECT_THAT(logOfFirstUse(),
              ElementsAre("[NetworkManager] Background URLSession initialized with identifier: " +
                          std::string(kSession)));
  const NSURLSession* session = NSURLSession::withIdentifier(kSession);
  ASSERT_TRUE(session);
  EXPECT_EQ(session->configuration().sharedContainerIdentifier, kAppGroup);
  EXPECT_TRUE(session->configuration().sessionSendsLaunchEvents);
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
          kStart,
          kUid,
          kBaseURL + "https://api.example.com",
          kKey,
          "--- Sending Affirmation Request ---",
          "[NetworkManager - Glancery] Sending Request Body: locale=es, timezone=UTC-6, "
          "appVersion=4.47.3, uid='u-1' to URL: "
          "https://api.example.com/api/widgets/get_affirmation",
          "-----------------------------------",
          "[NetworkManager - Glancery] Starting background download task for affirmation."));
}

TEST(AffirmationRequest, TellsWholeHoursAndTheLanguageAlone) {
  const ClientWorld world;
  struct Case {
    const char* zone;
    const char* locale;
    const char* timezone;
    const char* language;
    const char* now = "2024-03-05T10:00Z";
  };
  const Case kCases[] = {
      {"UTC", "es_MX", "UTC+0", "es"},
      {"Europe/Madrid", "en_GB", "UTC+1", "en"},
      {"Asia/Kolkata", "fr", "UTC+5", "fr"},
      {"Asia/Kathmandu", "pt_BR", "UTC+5", "pt"},
      {"Pacific/Chatham", "ar_EG@numbers=latn", "UTC+13", "ar"},
      {"Pacific/Chatham", "de_AT", "UTC+12", "de", "2024-07-05T10:00Z"},
      {"Pacific/Marquesas", "zh-Hant-TW", "UTC-9", "zh"},
      {"America/St_Johns", "es", "UTC-3", "es"},
      // Less than an hour behind UTC prints zero with a plus sign.
      {"Africa/Monrovia", "", "UTC+0", "es", "1971-03-05T10:00Z"},
  };
  for (const Case& row : kCases) {
    phoneAt(instant(row.now), row.zone, row.locale);
    asked() = {};
    fetch();
    const auto body = bodyOf(asked().downloads.at(0));
    EXPECT_EQ(body["timezone"], row.timezone) << row.zone;
    EXPECT_EQ(body["locale"], row.language) << row.locale;
  }
}

struct Configured {
  const char* name;
  Dictionary info;
  Value uid;
  /// The lines after the first one that depend on the configuration.
  Lines says;
  /// The request's URL; empty if there is no request.
  std::string asks;
  friend void PrintTo(const Configured& row, std::ostream* out) { *out << row.name; }
};

const Lines kWithoutUser = {kNoUid, kNilLocation};
const Lines kUnconfigured = {kUid, kNoConfiguration, kNilLocation};

const Configured kConfigured[] = {
    {"noUser", {{"ApiBaseUrl", "http://a"}, {"ApiKey", "k"}}, Value(), kWithoutUser, ""},
    {"emptyUser", {{"ApiBaseUrl", "http://a"}, {"ApiKey", "k"}}, "", kWithoutUser, ""},
    {"userWhoIsNoString", {{"ApiBaseUrl", "http://a"}, {"ApiKey", "k"}}, false, kWithoutUser, ""},
    {"noAddress", {{"ApiKey", "k"}}, "u-1", kUnconfigured, ""},
    {"emptyAddress", {{"ApiBaseUrl", ""}, {"ApiKey", "k"}}, "u-1", kUnconfigured, ""},
    {"addressOfAnotherType", {{"ApiBaseUrl", 5}, {"ApiKey", "k"}}, "u-1", kUnconfigured, ""},
    {"noKey", {{"ApiBaseUrl", "http://a"}}, "u-1", kUnconfigured, ""},
    {"keyOfAnotherType", {{"ApiBaseUrl", "http://a"}, {"ApiKey", true}}, "u-1", kUnconfigured, ""},
    {"invalidAddress",
     {{"ApiBaseUrl", "http://[::1"}, {"ApiKey", "k"}},
     "u-1",
     {kUid,
      kBaseURL + "http://[::1",
      kKey,
      "[NetworkManager - Glancery] Error: Invalid URL constructed: "
      "http://[::1/api/widgets/get_affirmation",
      kNilLocation},
     ""},
    {"emptyKeyOnlyWarns",
     {{"ApiBaseUrl", "http://a"}, {"ApiKey", ""}},
     "u-1",
     {kUid,
      kBaseURL + "http://a",
      "[NetworkManager - Glancery] Warning: ApiKey in Info.plist is empty."},
     "http://a/api/widgets/get_affirmation"},
    {"addressesAreJoinedAsTheyAre",
     {{"ApiBaseUrl", "http://a/v2/"}, {"ApiKey", "k"}},
     "u-1",
     {kUid, kBaseURL + "http://a/v2/", kKey},
     "http://a/v2//api/widgets/get_affirmation"},
};

class Configurations : public ::testing::TestWithParam<Configured> {};

TEST_P(Configurations, AskOrSayWhyNotAndLetThePlatformGo) {
  const Configured& row = GetParam();
  const ClientWorld world(row.info);
  if (row.uid.isNull()) {
    ClientWorld::suite().removeObjectForKey("sharedUid");
  } else {
    ClientWorld::suite().setObject(row.uid, "sharedUid");
  }
  int completed = 0;
  NetworkManager::shared().backgroundCompletionHandler = [&] { ++completed; };
  Lines log = fetch();
  EXPECT_EQ(log.front(), kStart);
  log.erase(log.begin());
  if (row.asks.empty()) {
    EXPECT_EQ(log, row.says);
    EXPECT_THAT(asked().downloads, IsEmpty());
  } else {
    log.resize(row.says.size());
    EXPECT_EQ(log, row.says);
    ASSERT_EQ(asked().downloads.size(), 1u);
    const NSURLRequest& request = asked().downloads[0];
    EXPECT_EQ(request.url().absoluteString(), row.asks);
    EXPECT_THAT(request.allHTTPHeaderFields(),
                Contains(Pair("X-API-KEY", *row.info.string("ApiKey"))));
  }
  EXPECT_EQ(completed, row.asks.empty() ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Bundles,
                         Configurations,
                         ::testing::ValuesIn(kConfigured),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(AffirmationRequest, IsNotMadeWithoutAnInfoDictionary) {
  const ClientWorld world;
  NSBundle::setMainBundle(NSBundle(std::filesystem::path("/nonexistent")));
  EXPECT_THAT(fetch(), ElementsAre(kStart, kUid, kNoConfiguration, kNilLocation));
  EXPECT_THAT(asked().downloads, IsEmpty());
}

// Answers

/// Delivers a result as the host would, until the delegate has dealt with it; `meanwhile` runs on
/// this thread before it waits for that. What the main queue then does is logged behind the rest.
Lines deliver(
    const ClientWorld& world,
    std::optional<std::int64_t> status,
    const std::optional<std::string>& body,
    std::optional<NSError> error = std::nullopt,
    const std::function<void()>& meanwhile = [] {}) {
  const auto file = world.folder() / "body";
  if (body) {
    writeWhole(file, *body);
  }
  const CapturedLog log;
  std::promise<void> done;
  NSURLSession::withIdentifier(kSession)->deliver({.session = kSession,
                                                   .url = "http://a/",
                                                   .file = file.string(),
                                                   .status = status,
                                                   .error = std::move(error)},
                                                  [&] { done.set_value(); });
  meanwhile();
  done.get_future().wait();
  runMainQueue();
  EXPECT_FALSE(std::filesystem::exists(file)) << "the temporary file must be removed";
  return log.lines();
}

struct Answer {
  const char* name;
  std::optional<std::int64_t> status;
  std::string body;
  /// The stored record; nothing if it does not change.
  std::optional<Dictionary> record;
  /// Every line between the location and the end of the file.
  Says says;
  friend void PrintTo(const Answer& row, std::ostream* out) { *out << row.name; }
};

const std::string kStatus = "[NetworkManager BG] HTTP Status Code: ";
const std::string kFound = "[NetworkManager - Glancery BG Parsing] Found text: ";
const std::string kParsed = "[NetworkManager BG] Parsed result from temp file: Text='";
const std::string kFailed = "[NetworkManager BG] Failed to parse JSON correctly.";
const std::string kParsedNothing = kParsed + "nil', Color='nil'";
const std::string kRaw = "[NetworkManager BG] Raw temp file content: ";
const std::string kBadStatus =
    "[NetworkManager BG] Download task completed with non-success status: ";
const std::string kErrorBody = "[NetworkManager BG] Error response body: ";
const std::string kNotJSON =
    "[NetworkManager - Glancery BG Parsing] JSON parsing error: The data couldn’t be read because "
    "it isn’t in the correct format.";
const std::string kPreparing = "[NetworkManager BG Saving] Preparing affirmation dict: ";
const std::string kSaved =
    "[NetworkManager BG Saving] Saved serialized affirmation data for key affirmationData.";
const std::string kReloading =
    "[NetworkManager BG Saving] Reloading timelines for AffirmationWidget.";

Dictionary record(const char* text, const char* color) {
  return {{"text", text}, {"color", color}};
}

const std::string kGood = R"({"text":"Hola \ud83c\udf31","color":"gold","more":[1]})";

Says bad(const std::string& status) {
  return {kStatus + status, kBadStatus + status};
}

Says bad(const std::string& status, const std::string& body) {
  return {kStatus + status, kBadStatus + status, kErrorBody + body};
}

/// A usable response and the record stored from it.
Says saved(const std::string& text,
           const std::string& color,
           const std::string& stored,
           const std::string& status = "200") {
  return {kStatus + status,
          kFound + text + ", color: " + color + " directly in JSON.",
          kParsed + text + "', Color='" + color + "'",
          kPreparing + "[\"color\": \"" + stored + "\", \"text\": \"" + text + "\"]",
          kSaved};
}

/// A response that is not JSON.
Says refused(const std::string& logged, const std::string& status = "200") {
  return {kStatus + status,
          StartsWith("[NetworkManager - Glancery BG Parsing] JSON parsing error: The data"),
          kParsedNothing,
          kFailed,
          kRaw + logged};
}

const Answer kAnswers[] = {
    {"good", 200, kGood, record("Hola 🌱", "gold"), saved("Hola 🌱", "gold", "gold")},
    {"lastGoodStatus",
     299,
     kGood,
     record("Hola 🌱", "gold"),
     saved("Hola 🌱", "gold", "gold", "299")},
    {"below", 199, kGood, {}, bad("199", kGood)},
    {"above", 300, kGood, {}, bad("300", kGood)},
    {"serverError", 503, "later", {}, bad("503", "later")},
    {"errorBodyIsNeverCut", 500, std::string(5000, 'x'), {}, bad("500", std::string(5000, 'x'))},
    {"errorBodyOfBytesIsSilent", 600, "\xFF\xFE", {}, bad("600")},
    {"noHTTP", {}, kGood, {}, {"[NetworkManager BG] No HTTP response received."}},
    {"noColour", 200, R"({"text":"Hola"})", record("Hola", "blush"), saved("Hola", "nil", "blush")},
    {"colourOfAnotherType",
     200,
     R"({"text":"Hola","color":3})",
     record("Hola", "blush"),
     saved("Hola", "nil", "blush")},
    {"emptyTextIsKept", 200, R"({"text":"","color":""})", record("", ""), saved("", "", "")},
    {"noText",
     200,
     R"({"color":"sky"})",
     {},
     {kStatus + "200",
      kFound + "nil, color: sky directly in JSON.",
      kParsed + "nil', Color='sky'",
      kFailed,
      kRaw + R"({"color":"sky"})"}},
    {"textOfAnotherType",
     200,
     R"({"text":null})",
     {},
     {kStatus + "200",
      kFound + "nil, color: nil directly in JSON.",
      kParsedNothing,
      kFailed,
      kRaw + R"({"text":null})"}},
    {"array",
     200,
     "[]",
     {},
     {kStatus + "200",
      "[NetworkManager - Glancery BG Parsing] Failed to cast JSON object to [String: Any].",
      kParsedNothing,
      kFailed,
      kRaw + "[]"}},
    {"notJSON", 200, "<html>", {}, refused("<html>")},
    {"empty", 204, "", {}, refused("", "204")},
    {"notUTF8", 200, "\xFF", {}, refused("Invalid encoding")},
    {"largestLoggedBody", 200, std::string(1023, 'x'), {}, refused(std::string(1023, 'x'))},
    {"smallestSilentBody",
     200,
     std::string(1024, 'x'),
     {},
     {kStatus + "200", _, kParsedNothing, kFailed}},
};

class Answers : public ::testing::TestWithParam<Answer> {};

TEST_P(Answers, AreStoredOrExplained) {
  const Answer& row = GetParam();
  const ClientWorld world;
  const Data before{R"({"text":"before","color":"sky"})"};
  ClientWorld::suite().setObject(before, "affirmationData");
  ClientWorld::suite().setObject("old", "affirmationColor");
  int completed = 0;
  NetworkManager::shared().backgroundCompletionHandler = [&] { ++completed; };

  const Lines log = deliver(world, row.status, row.body);

  const std::string location = "file://" + (world.folder() / "body").string();
  Says says = row.says;
  says.insert(says.begin(),
              "[NetworkManager BG] Download task finished. Location: " + location + ".");
  says.push_back("[NetworkManager BG] Cleaned up temp file at: " + location);
  says.push_back(
      "[NetworkManager BG] Task completed successfully (no explicit error reported). "
      "Final status/cleanup handled in didFinishDownloadingTo.");
  if (row.record) {
    says.push_back(kReloading);
  }
  EXPECT_THAT(log, ElementsAreArray(says));
  const auto stored = *ClientWorld::suite().dataForKey("affirmationData");
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

TEST(DownloadCompletion, SavesThenReloadsThenCompletes) {
  const ClientWorld world;
  Lines order;
  WidgetCenter::shared().setHost([&](const std::string& kind) {
    EXPECT_EQ(std::this_thread::get_id(), mainThread);
    order.push_back("reload " + kind);
  });
  NetworkManager::shared().backgroundCompletionHandler = [&] {
    EXPECT_EQ(std::this_thread::get_id(), mainThread);
    order.push_back("complete");
  };
  // The delegate stops on its way to the disk, and whatever waits on the main queue then runs.
  std::promise<void> flushing;
  std::promise<void> flushed;
  onFlush = [&] {
    flushing.set_value();
    flushed.get_future().wait();
  };
  deliver(world, 200, kGood, {}, [&] {
    ASSERT_EQ(flushing.get_future().wait_for(std::chrono::seconds(60)), std::future_status::ready)
        << "the record must be synced";
    runMainQueue();
    EXPECT_THAT(order, IsEmpty()) << "the record is not synced yet";
    EXPECT_TRUE(ClientWorld::suite().dataForKey("affirmationData"));
    flushed.set_value();
  });
  onFlush = nullptr;
  EXPECT_THAT(order, ElementsAre("reload AffirmationWidget", "complete"));
}

TEST(DownloadCompletion, AMissingFileIsSaidTwice) {
  const ClientWorld world;
  const std::string location = "file://" + (world.folder() / "body").string();
  EXPECT_THAT(
      deliver(world, 200, std::nullopt),
      ElementsAre(_,
                  kStatus + "200",
                  "[NetworkManager BG] Could not read data from temp file location: " + location +
                      ". This might be expected for POST.",
                  StartsWith("[NetworkManager BG] Error removing temp file at " + location + ": "),
                  _));
}

TEST(DownloadCompletion, AnErrorEndsATaskWithoutALocation) {
  const ClientWorld world;
  const NSError lost = {NSURLErrorDomain, -1005, "The network connection was lost."};
  EXPECT_THAT(deliver(world, 206, std::nullopt, lost),
              ElementsAre("[NetworkManager BG] Task completed with error: The network connection "
                          "was lost.",
                          "[NetworkManager BG] Error context - HTTP Status: 206",
                          kNilLocation));
  EXPECT_THAT(deliver(world, {}, std::nullopt, lost), ElementsAre(_, kNilLocation));
}

TEST(DownloadCompletion, ABadAnswerWithoutAFileHasNoBody) {
  const ClientWorld world;
  EXPECT_THAT(deliver(world, 500, std::nullopt),
              ElementsAre(_,
                          kStatus + "500",
                          kBadStatus + "500",
                          StartsWith("[NetworkManager BG] Error removing temp file at "),
                          _));
}

TEST(DownloadCompletion, TextThatIsNoUTF8IsNotSaved) {
  const ClientWorld world;
  const CapturedLog log;
  NetworkManager::shared().saveAffirmation("\xFF", "sky");
  runMainQueue();
  EXPECT_THAT(log.lines(),
              ElementsAre(StartsWith(kPreparing),
                          StartsWith("[NetworkManager BG Saving] Error serializing affirmation "
                                     "data: The data")));
  EXPECT_EQ(ClientWorld::suite().dataForKey("affirmationData"), std::nullopt);
  EXPECT_THAT(asked().reloads, IsEmpty());
}

TEST(DownloadCompletion, ASuiteThatCantBeOpenedSavesNothing) {
  const ClientWorld world;
  world.breakSuite();
  EXPECT_THAT(deliver(world, 200, kGood),
              Contains("[NetworkManager BG Saving] Error: Failed to access UserDefaults "
                       "suite for saving."));
  EXPECT_THAT(asked().reloads, IsEmpty());
}

/// Lets the session report that all events were delivered, and waits for the delegate.
void finishEvents() {
  std::promise<void> done;
  NSURLSession::withIdentifier(kSession)->finishEvents([&] { done.set_value(); });
  done.get_future().wait();
}

TEST(DownloadCompletion, AHostThatRefusesEndsTheTask) {
  const ClientWorld world;
  asked().refusal = NSError{NSURLErrorDomain, -1002, "unsupported URL"};
  const CapturedLog log;
  NetworkManager::shared().fetchAffirmation();
  finishEvents();
  runMainQueue();
  EXPECT_THAT(log.lines(),
              Contains("[NetworkManager BG] Task completed with error: unsupported URL"));
}

TEST(BackgroundEvents, TheLastEventAlsoCompletesOnTheMainQueue) {
  const ClientWorld world;
  int completed = 0;
  NetworkManager::shared().backgroundCompletionHandler = [&] { ++completed; };
  const CapturedLog log;
  finishEvents();
  EXPECT_THAT(log.lines(), ElementsAre("[NetworkManager BG] urlSessionDidFinishEvents called."));
  EXPECT_EQ(completed, 0);
  runMainQueue();
  EXPECT_EQ(completed, 1);
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
