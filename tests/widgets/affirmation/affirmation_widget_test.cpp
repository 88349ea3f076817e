#include "widgets/affirmation/affirmation_widget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/notification_center.h"
#include "platform/render/layout.h"
#include "platform/swiftui/view_archiver.h"
#include "tests/network/client_world.h"
#include "tests/platform/render/layout_fixture.h"
#include "widgets/affirmation/affirmation_provider.h"
#include "widgets/affirmation/affirmation_widget_entry_view.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using ::testing::Contains;
using ::testing::ElementsAre;

constexpr const char* kPlaceholder = "Yo sé que cualquiera sería afortunado de tener mi amistad.";
constexpr const char* kNoUidKey = "AFFIRMATION_PLACEHOLDER_NO_UID";

AffirmationProvider affirmationProvider() {
  return {.placeholderAffirmation = kPlaceholder,
          .defaultColorName = "blush",
          .userDefaultsSuiteName = kAppGroupIdentifier,
          .affirmationDataKey = kAffirmationDataKey,
          .affirmationLastFetchKey = kAffirmationLastFetchKey,
          .userDefaultsUidKey = kSharedUidKey};
}

struct Evaluation {
  std::vector<AffirmationEntry> entries;
  std::optional<Date> after;
  std::vector<std::string> log;
};

Evaluation evaluate() {
  NetworkManager::shared();
  Evaluation evaluation;
  const CapturedLog log;
  affirmationProvider().getTimeline({}, [&](const Timeline<AffirmationEntry>& timeline) {
    evaluation.entries = timeline.entries;
    evaluation.after = timeline.policy.date;
  });
  evaluation.log = log.lines();
  return evaluation;
}

struct Policy {
  const char* name;
  Value lastFetch;
  const char* now;
  const char* zone;
  bool fetches;
  friend void PrintTo(const Policy& row, std::ostream* out) { *out << row.name; }
};

Value at(std::string_view iso) {
  return instant(iso);
}

const Policy kPolicies[] = {
    {"firstTime", Value(), "2024-03-05T10:00Z", "UTC", true},
    {"textIsNoDate", "2024-03-05T09:00:00Z", "2024-03-05T10:00Z", "UTC", true},
    {"numberIsNoDate", 1709632800, "2024-03-05T10:00Z", "UTC", true},
    {"twoMinutesOverMidnight", at("2024-03-04T23:59Z"), "2024-03-05T00:01Z", "UTC", true},
    {"almostAWholeDay", at("2024-03-05T00:00:01Z"), "2024-03-05T23:59Z", "UTC", false},
    {"theDayIsTheDevices",
     at("2024-03-05T05:59Z"),
     "2024-03-05T06:00Z",
     "America/Mexico_City",
     true},
    {"sameDayThere", at("2024-03-05T06:00Z"), "2024-03-06T05:59Z", "America/Mexico_City", false},
    {"aFetchOfTomorrow", at("2024-03-06T10:00Z"), "2024-03-05T10:00Z", "UTC", true},
};

class FetchPolicy : public ::testing::TestWithParam<Policy> {};

TEST_P(FetchPolicy, AsksOnceACalendarDay) {
  const Policy& row = GetParam();
  const ClientWorld world;
  if (!row.lastFetch.isNull()) {
    ClientWorld::suite().setObject(row.lastFetch, kAffirmationLastFetchKey);
  }
  phoneAt(instant(row.now), row.zone);
  evaluate();
  EXPECT_EQ(asked().downloads.size(), row.fetches ? 1u : 0u);
  EXPECT_EQ(ClientWorld::suite().objectForKey(kAffirmationLastFetchKey),
            row.fetches ? Value(instant(row.now)) : row.lastFetch);
  evaluate();
  EXPECT_EQ(asked().downloads.size(), row.fetches ? 1u : 0u) << "the second look of the day";
}

INSTANTIATE_TEST_SUITE_P(Days, FetchPolicy, ::testing::ValuesIn(kPolicies), [](const auto& row) {
  return std::string(row.param.name);
});

struct Record {
  const char* name;
  std::optional<std::string> stored;
  std::string text;
  std::string color;
  std::string says;
  friend void PrintTo(const Record& row, std::ostream* out) { *out << row.name; }
};

const std::string kRead = "[AffirmationProvider] Deserialized affirmation: ";
const Record kRecords[] = {
    {"good", R"({"text":"Hola","color":"sky"})", "Hola", "sky", kRead + "Text='Hola', Color='sky'"},
    {"emptyTextFallsBackEmptyColourDoesNot",
     R"({"text":"","color":""})",
     kPlaceholder,
     "",
     kRead + "Text='', Color=''"},
    {"emptyObject", "{}", kPlaceholder, "blush", kRead + "Text='nil', Color='nil'"},
    {"numberAmongThem",
     R"({"text":"Hola","color":3})",
     kPlaceholder,
     "blush",
     "[AffirmationProvider] Failed to cast deserialized affirmation object to [String: String]"},
    {"array",
     "[]",
     kPlaceholder,
     "blush",
     "[AffirmationProvider] Failed to cast deserialized affirmation object to [String: String]"},
    {"damaged",
     R"({"text":"Hola)",
     kPlaceholder,
     "blush",
     "[AffirmationProvider] Error deserializing affirmation data: Error Domain=NSCocoaErrorDomain "
     "Code=3840 \"The data couldn’t be read because it isn’t in the correct format.\" "
     "UserInfo={NSDebugDescription=invalid string: missing closing quote at line 1, column 14}"},
    {"absent",
     {},
     kPlaceholder,
     "blush",
     "[AffirmationProvider] No serialized affirmation data found for key affirmationData"},
};

class AffirmationRecords : public ::testing::TestWithParam<Record> {};

TEST_P(AffirmationRecords, AreShownOrExplained) {
  const ClientWorld world;
  if (GetParam().stored) {
    ClientWorld::suite().setObject(Data{*GetParam().stored}, kAffirmationDataKey);
  }
  const Evaluation evaluation = evaluate();
  const Date tomorrow = instant("2024-03-06T06:00Z");
  const AffirmationEntry now = {
      instant("2024-03-05T10:00Z"), GetParam().text, GetParam().color, true};
  AffirmationEntry later = now;
  later.date = tomorrow;
  EXPECT_THAT(evaluation.entries, ElementsAre(now, later));
  EXPECT_EQ(evaluation.after, tomorrow);
  EXPECT_THAT(evaluation.log, Contains(::testing::StartsWith(GetParam().says)));
}

INSTANTIATE_TEST_SUITE_P(Stored,
                         AffirmationRecords,
                         ::testing::ValuesIn(kRecords),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(AffirmationProvider, LogsAFetchInTheRequestThatStartedIt) {
  const ClientWorld world;
  ClientWorld::suite().setObject(instant("2024-03-04T10:00Z"), kAffirmationLastFetchKey);
  const auto log = evaluate().log;
  ASSERT_EQ(log.size(), 15u);
  EXPECT_EQ(log[0], "[AffirmationProvider] Found UID: u-1. Checking fetch condition.");
  EXPECT_EQ(
      log[1],
      "[AffirmationProvider] Found last fetch time: 2024-03-04 10:00:00 +0000. Is same day as "
      "now? false");
  EXPECT_EQ(log[2],
            "[AffirmationProvider] DECISION: Fetching new affirmation (last fetch was different "
            "day).");
  EXPECT_EQ(log[3],
            "[AffirmationProvider] ---> Initiating NetworkManager.shared.fetchAffirmation()");
  EXPECT_EQ(log[12],
            "[AffirmationProvider] Saved current time 2024-03-05 10:00:00 +0000 as last fetch "
            "time.");
  EXPECT_EQ(log[14],
            "[AffirmationProvider] Provided timeline with 2 entries. Next update at 2024-03-06 "
            "06:00:00 +0000.");
}

TEST(AffirmationProvider, WithoutAUserNothingIsFetched) {
  for (const auto& [uid, unreachable] :
       {std::pair(Value(""), false), {Value(""), true}, {Value(7), false}}) {
    const ClientWorld world;
    ClientWorld::suite().setObject(uid, kSharedUidKey);
    if (unreachable) {
      world.breakSuite();
    }
    const Evaluation evaluation = evaluate();
    EXPECT_EQ(evaluation.log.front(),
              "[AffirmationProvider] UID missing or empty. Displaying placeholder affirmation.");
    ASSERT_EQ(evaluation.entries.size(), 2u);
    EXPECT_EQ(evaluation.entries[1],
              (AffirmationEntry{instant("2024-03-06T06:00Z"), kNoUidKey, "blush", false}));
    EXPECT_TRUE(asked().downloads.empty());
  }
}

TEST(AffirmationProvider, SamplesAreThePlaceholderWhateverIsStored) {
  const ClientWorld world;
  ClientWorld::suite().setObject(Data{R"({"text":"Hola","color":"sky"})"}, kAffirmationDataKey);
  const AffirmationEntry expected = {instant("2024-03-05T10:00Z"), kPlaceholder, "blush", false};
  const CapturedLog log;
  EXPECT_EQ(affirmationProvider().placeholder({}), expected);
  EXPECT_TRUE(log.lines().empty());
  affirmationProvider().getSnapshot(
      {}, [&](const AffirmationEntry& entry) { EXPECT_EQ(entry, expected); });
  EXPECT_THAT(log.lines(),
              ElementsAre("[AffirmationProvider] Providing snapshot with forced placeholder "
                          "data."));
}

// The view

ArchivedView archived(const AffirmationEntry& entry, Size size) {
  return archiveView(
      AffirmationWidgetEntryView{entry, kPlaceholder}, size, {}, NSBundle::mainBundle());
}

TEST(AffirmationView, ColoursAndPicturesFallBackUnlikeEachOther) {
  constexpr auto byte = [](double value) { return value / 255; };
  const std::tuple<std::optional<std::string>, const char*, Color> kCases[] = {
      {"blush", "affirmationRed", {byte(192), byte(33), byte(33)}},
      {"gold", "affirmationYellow", {byte(211), byte(129), byte(13)}},
      {"sky", "affirmationBlue", {byte(16), byte(102), byte(148)}},
      {"Blush", "affirmationRed", Color::black},
      {"", "affirmationRed", Color::black},
      {{}, "affirmationRed", Color::black},
  };
  for (const auto& [name, picture, color] : kCases) {
    const AffirmationEntry entry = {.affirmation = "Hola", .colorName = name};
    test::FixedAdvanceMeasurer text;
    const DisplayList list =
        layOut(archived(entry, {306, 126}), {306, 126}, {}, {text, [](auto) { return Size(); }});
    EXPECT_EQ(std::get<TextItem>(list.items.at(0).content).text.color, color);
    const auto behind =
        archiveView(affirmationBackground(entry), {306, 126}, {}, NSBundle::mainBundle());
    EXPECT_EQ(std::get<ArchivedImage>(behind.element), (ArchivedImage{picture, true}));
  }
}

TEST(AffirmationView, ShowsASentenceOrWhatToDoForOne) {
  const ClientWorld world;
  const std::pair<std::optional<std::string>, const char*> kCases[] = {
      {"Hola %lld", "Hola %lld"},
      {kPlaceholder, kNoUidKey},
      {"", kNoUidKey},
      {{}, kNoUidKey},
      {kNoUidKey, kNoUidKey},
  };
  for (const auto& [affirmation, shown] : kCases) {
    test::FixedAdvanceMeasurer text;
    const AffirmationEntry entry = {.affirmation = affirmation};
    const DisplayList list =
        layOut(archived(entry, {306, 126}), {306, 126}, {}, {text, [](auto) { return Size(); }});
    const ArchivedText& style = std::get<TextItem>(list.items.at(0).content).text;
    EXPECT_EQ(style.text, shown);
    EXPECT_EQ(style.font, Font::custom("Sentient Variable", 24));
    EXPECT_EQ(style.tracking, -0.72);
    EXPECT_EQ(style.alignment, TextAlignment::center);
  }
}

TEST(AffirmationView, TheNarrowerWidgetHasTheLargerMargin) {
  for (const auto& [width, margin] : {std::pair(299.5, 12.0), std::pair(300.0, 6.0)}) {
    const ArchivedView reader = archived({.affirmation = "Hola"}, {width, 126});
    const ArchivedView& frame = reader.children.at(0);
    const auto padding = std::get<PaddingModifier>(frame.children.at(0).element);
    EXPECT_EQ(padding.insets, (EdgeInsets{.leading = margin, .trailing = margin})) << width;
    EXPECT_EQ(std::get<FlexibleFrame>(frame.element),
              (FlexibleFrame{.maxWidth = infinity, .maxHeight = infinity}));
  }
}

TEST(AffirmationWidget, LinksOnlyForAUserAndBacksItselfByVersion) {
  const ClientWorld world;
  const auto content = [](OperatingSystemVersion version) {
    Device device = currentDevice();
    device.systemVersion = version;
    setCurrentDevice(device);
    ArchivedView view;
    Affirmation().body().provider->getTimeline({}, [&](const WidgetTimeline& timeline) {
      view = archiveView(timeline.entries[0].view, {306, 126}, {}, NSBundle::mainBundle());
    });
    return view;
  };
  const CapturedLog silent;
  const ArchivedView from = content({17, 0});
  EXPECT_TRUE(std::holds_alternative<ContainerBackgroundModifier>(from.element));
  EXPECT_EQ(from.children.at(0).element,
            ArchivedView::Element(ArchivedWidgetURL{"quiloapp://affirmation"}));
  EXPECT_TRUE(std::holds_alternative<BackgroundModifier>(content({16, 4}).element));
  ClientWorld::suite().removeObjectForKey(kSharedUidKey);
  EXPECT_TRUE(
      std::holds_alternative<ArchivedGeometryReader>(content({17, 0}).children.at(0).element));
}

// The lifecycle

TEST(AffirmationWidget, EveryRecordHearsOfALocaleChange) {
  const ClientWorld world;
  // Other tests have made records as well, and none is ever forgotten.
  const auto heard = [] {
    asked().downloads.clear();
    const CapturedLog log;
    NSNotificationCenter::defaultCenter().post(NSCurrentLocaleDidChangeNotification);
    runMainQueue();
    const auto lines = log.lines();
    const auto said = std::ranges::count(
        lines,
        "[AffirmationWidget] NSLocale.currentLocaleDidChangeNotification received. Fetching new "
        "affirmation and reloading timeline for kind: AffirmationWidget.");
    EXPECT_EQ(static_cast<std::size_t>(said), asked().downloads.size());
    return said;
  };
  ClientWorld::suite().setObject(instant("2024-03-05T09:00Z"), kAffirmationLastFetchKey);
  const auto before = heard();
  const Affirmation first;
  const Affirmation second;
  const Affirmation third;
  EXPECT_EQ(heard(), before + 3);
  EXPECT_EQ(ClientWorld::suite().objectForKey(kAffirmationLastFetchKey),
            Value(instant("2024-03-05T09:00Z")));
}

TEST(AffirmationWidget, TakesTheEventsOfItsSession) {
  const ClientWorld world;
  const WidgetConfiguration configuration = Affirmation().body();
  EXPECT_EQ(configuration.backgroundSessionIdentifier, kBackgroundSessionIdentifier);
  const CapturedLog log;
  int completed = 0;
  configuration.backgroundEventsHandler("session", [&] { ++completed; });
  EXPECT_THAT(log.lines(),
              ElementsAre("[AffirmationWidget] Received background session event for identifier: "
                          "session"));
  EXPECT_EQ(completed, 0) << "it is the client's to call";
  NetworkManager::shared().backgroundCompletionHandler();
  EXPECT_EQ(completed, 1);
}

}  // namespace
}  // namespace glancery
