#include "widgets/affirmation/affirmation_widget.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "platform/foundation/process/notification_center.h"
#include "platform/render/layout/layout.h"
#include "platform/swiftui/view_archiver.h"
#include "tests/network/client_world.h"
#include "tests/widgets/view_dump.h"
#include "widgets/affirmation/affirmation_widget_entry_view.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::StartsWith;

constexpr const char* kPlaceholder = "Yo sé que cualquiera sería afortunado de tener mi amistad.";
constexpr const char* kNoUidKey = "AFFIRMATION_PLACEHOLDER_NO_UID";

const std::string kLog = "[AffirmationProvider] ";
const std::string kProvided =
    kLog + "Provided timeline with 2 entries. Next update at 2024-03-06 06:00:00 +0000.";
using Lines = std::vector<std::string>;

/// The widget's provider. Every widget object observes locale changes until the process ends, so
/// all tests share one.
const AnyTimelineProvider& provider() {
  static const WidgetConfiguration& widget = *new WidgetConfiguration(Affirmation().body());
  return *widget.provider;
}

Mirror fields(Date date, std::string_view affirmation, std::string_view color, bool hasUid) {
  return {{"date", date},
          {"affirmation", std::string(affirmation)},
          {"colorName", std::string(color)},
          {"hasUid", hasUid}};
}

struct Evaluation {
  std::vector<Mirror> entries;
  std::optional<Date> after;
  /// The provider's own lines.
  Lines log;
};

Evaluation evaluate() {
  Evaluation evaluation;
  const CapturedLog log;
  provider().getTimeline({}, [&](const WidgetTimeline& timeline) {
    for (const WidgetEntry& entry : timeline.entries) {
      evaluation.entries.push_back(entry.fields);
      EXPECT_EQ(entry.fields.front().second, MirroredField(entry.date));
    }
    evaluation.after = timeline.policy.date;
  });
  std::ranges::copy_if(log.lines(), std::back_inserter(evaluation.log), [](const auto& line) {
    return line.starts_with(kLog);
  });
  return evaluation;
}

struct Policy {
  const char* name;
  Value lastFetch;
  const char* now;
  const char* zone;
  bool fetches;
  Lines says;
  friend void PrintTo(const Policy& row, std::ostream* out) { *out << row.name; }
};

Value at(std::string_view iso) {
  return instant(iso);
}

const Lines kFirstTime = {kLog + "No last fetch time found in UserDefaults.",
                          kLog + "DECISION: Fetching new affirmation (first time)."};

Lines otherDay(const std::string& last) {
  return {kLog + "Found last fetch time: " + last + " +0000. Is same day as now? false",
          kLog + "DECISION: Fetching new affirmation (last fetch was different day)."};
}

Lines sameDay(const std::string& last) {
  return {kLog + "Found last fetch time: " + last + " +0000. Is same day as now? true",
          kLog + "DECISION: Skipping fetch (last fetch was today)."};
}

const Policy kPolicies[] = {
    {"firstTime", Value(), "2024-03-05T10:00Z", "UTC", true, kFirstTime},
    {"textIsNoDate", "2024-03-05T09:00:00Z", "2024-03-05T10:00Z", "UTC", true, kFirstTime},
    {"numberIsNoDate", 1709632800, "2024-03-05T10:00Z", "UTC", true, kFirstTime},
    {"twoMinutesOverMidnight",
     at("2024-03-04T23:59Z"),
     "2024-03-05T00:01Z",
     "UTC",
     true,
     otherDay("2024-03-04 23:59:00")},
    {"almostAWholeDay",
     at("2024-03-05T00:00:01Z"),
     "2024-03-05T23:59Z",
     "UTC",
     false,
     sameDay("2024-03-05 00:00:01")},
    {"theDayIsTheDevices",
     at("2024-03-05T05:59Z"),
     "2024-03-05T06:00Z",
     "America/Mexico_City",
     true,
     otherDay("2024-03-05 05:59:00")},
    {"sameDayThere",
     at("2024-03-05T06:00Z"),
     "2024-03-06T05:59Z",
     "America/Mexico_City",
     false,
     sameDay("2024-03-05 06:00:00")},
    {"aFetchOfTomorrow",
     at("2024-03-06T10:00Z"),
     "2024-03-05T10:00Z",
     "UTC",
     true,
     otherDay("2024-03-06 10:00:00")},
};

class FetchPolicy : public ::testing::TestWithParam<Policy> {};

TEST_P(FetchPolicy, AsksOnceACalendarDay) {
  const Policy& row = GetParam();
  const ClientWorld world;
  if (!row.lastFetch.isNull()) {
    ClientWorld::suite().setObject(row.lastFetch, "affirmationLastFetchTime");
  }
  phoneAt(instant(row.now), row.zone);
  const Lines log = evaluate().log;
  EXPECT_THAT(Lines(log.begin() + 1, log.begin() + 3), ElementsAreArray(row.says));
  EXPECT_EQ(asked().downloads.size(), row.fetches ? 1u : 0u);
  EXPECT_EQ(ClientWorld::suite().objectForKey("affirmationLastFetchTime"),
            row.fetches ? Value(instant(row.now)) : row.lastFetch);
  evaluate();
  EXPECT_EQ(asked().downloads.size(), row.fetches ? 1u : 0u) << "the second timeline of the day";
}

INSTANTIATE_TEST_SUITE_P(Days, FetchPolicy, ::testing::ValuesIn(kPolicies), [](const auto& row) {
  return std::string(row.param.name);
});

struct Record {
  const char* name;
  std::optional<std::string> stored;
  std::string text;
  std::string color;
  ::testing::Matcher<std::string> says;
  friend void PrintTo(const Record& row, std::ostream* out) { *out << row.name; }
};

const std::string kRead = kLog + "Deserialized affirmation: ";
const std::string kCast =
    kLog + "Failed to cast deserialized affirmation object to [String: String]";
const Record kRecords[] = {
    {"good", R"({"text":"Hola","color":"sky"})", "Hola", "sky", kRead + "Text='Hola', Color='sky'"},
    {"emptyTextFallsBackEmptyColourDoesNot",
     R"({"text":"","color":""})",
     kPlaceholder,
     "",
     kRead + "Text='', Color=''"},
    {"emptyObject", "{}", kPlaceholder, "blush", kRead + "Text='nil', Color='nil'"},
    {"numberAmongThem", R"({"text":"Hola","color":3})", kPlaceholder, "blush", kCast},
    {"array", "[]", kPlaceholder, "blush", kCast},
    {"damaged",
     R"({"text":"Hola)",
     kPlaceholder,
     "blush",
     kLog + "Error deserializing affirmation data: Error Domain=NSCocoaErrorDomain "
            "Code=3840 \"The data couldn’t be read because it isn’t in the correct format.\" "
            "UserInfo={NSDebugDescription=invalid string: missing closing quote at line 1, column "
            "14}"},
    {"absent",
     {},
     kPlaceholder,
     "blush",
     kLog + "No serialized affirmation data found for key affirmationData"},
};

class AffirmationRecords : public ::testing::TestWithParam<Record> {};

TEST_P(AffirmationRecords, AreShownOrExplained) {
  const Record& row = GetParam();
  const ClientWorld world;
  if (row.stored) {
    ClientWorld::suite().setObject(Data{*row.stored}, "affirmationData");
  }
  const Evaluation evaluation = evaluate();
  const Date now = instant("2024-03-05T10:00Z");
  const Date tomorrow = instant("2024-03-06T06:00Z");
  EXPECT_THAT(evaluation.entries,
              ElementsAre(fields(now, row.text, row.color, true),
                          fields(tomorrow, row.text, row.color, true)));
  EXPECT_EQ(evaluation.after, tomorrow);
  EXPECT_THAT(evaluation.log,
              ElementsAre(kLog + "Found UID: u-1. Checking fetch condition.",
                          kFirstTime[0],
                          kFirstTime[1],
                          kLog + "---> Initiating NetworkManager.shared.fetchAffirmation()",
                          kLog + "Saved current time 2024-03-05 10:00:00 +0000 as last fetch time.",
                          row.says,
                          kProvided));
}

INSTANTIATE_TEST_SUITE_P(Stored,
                         AffirmationRecords,
                         ::testing::ValuesIn(kRecords),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(AffirmationProvider, WithoutAUserNothingIsFetched) {
  for (const auto& [uid, unreachable] :
       {std::pair(Value(""), false), {Value(""), true}, {Value(7), false}}) {
    const ClientWorld world;
    ClientWorld::suite().setObject(uid, "sharedUid");
    ClientWorld::suite().setObject(Data{R"({"text":"Hola","color":"sky"})"}, "affirmationData");
    if (unreachable) {
      world.breakSuite();
    }
    const Evaluation evaluation = evaluate();
    EXPECT_THAT(
        evaluation.log,
        ElementsAre(kLog + "UID missing or empty. Displaying placeholder affirmation.", kProvided));
    EXPECT_THAT(evaluation.entries,
                ElementsAre(fields(instant("2024-03-05T10:00Z"), kNoUidKey, "blush", false),
                            fields(instant("2024-03-06T06:00Z"), kNoUidKey, "blush", false)));
    EXPECT_EQ(evaluation.after, instant("2024-03-06T06:00Z"));
    EXPECT_TRUE(asked().downloads.empty());
    if (!unreachable) {
      EXPECT_EQ(ClientWorld::suite().objectForKey("affirmationLastFetchTime"), std::nullopt);
    }
  }
}

TEST(AffirmationProvider, SamplesAreThePlaceholderWhateverIsStored) {
  const ClientWorld world;
  ClientWorld::suite().setObject(Data{R"({"text":"Hola","color":"sky"})"}, "affirmationData");
  const Mirror expected = fields(instant("2024-03-05T10:00Z"), kPlaceholder, "blush", false);
  const CapturedLog log;
  EXPECT_EQ(provider().placeholder({}).fields, expected);
  EXPECT_TRUE(log.lines().empty());
  std::vector<Mirror> snapshots;
  provider().getSnapshot({}, [&](const WidgetEntry& entry) { snapshots.push_back(entry.fields); });
  EXPECT_THAT(snapshots, ElementsAre(expected));
  EXPECT_THAT(log.lines(), ElementsAre(kLog + "Providing snapshot with forced placeholder data."));
}

TEST(AffirmationProviderDeathTest, StopsWhereTheCalendarEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // The client's session has a thread.
  const ClientWorld world;
  phoneAt(Date::distantFuture());
  EXPECT_DEATH(evaluate(), "value is missing .*affirmation_provider.cpp");
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

TEST(AffirmationView, ShowsASentenceAsItIsOrWhatToDoForOne) {
  const ClientWorld world;
  const Translated bundle("Hola");
  const std::pair<std::optional<std::string>, const char*> kCases[] = {
      {"Hola", "Hola"},
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

/// The first entry of the widget's timeline on that version of the system.
ArchivedView shownByWidget(OperatingSystemVersion version) {
  Device device = currentDevice();
  device.systemVersion = version;
  setCurrentDevice(device);
  ArchivedView view;
  const CapturedLog silent;
  provider().getTimeline({}, [&](const WidgetTimeline& timeline) {
    view = archiveView(timeline.entries[0].view, {306, 126}, {}, NSBundle::mainBundle());
  });
  return view;
}

TEST(AffirmationWidget, LinksOnlyForAUserAndBacksItselfByVersion) {
  const ClientWorld world;
  const ArchivedView from = shownByWidget({17, 0});
  ASSERT_TRUE(std::holds_alternative<ContainerBackgroundModifier>(from.element));
  EXPECT_EQ(from.children.at(0).element,
            ArchivedView::Element(ArchivedWidgetURL{"quiloapp://affirmation"}));
  EXPECT_EQ(from.children.at(1).element,
            ArchivedView::Element(ArchivedImage{"affirmationRed", true}));
  EXPECT_TRUE(std::holds_alternative<BackgroundModifier>(shownByWidget({16, 4}).element));
  ClientWorld::suite().removeObjectForKey("sharedUid");
  EXPECT_TRUE(std::holds_alternative<ArchivedGeometryReader>(
      shownByWidget({17, 0}).children.at(0).element));
}

// The provider's placeholder is never shown.
TEST(AffirmationWidget, NeverShowsItsPlaceholder) {
  const ClientWorld world;
  const ArchivedView shown = shownByWidget({16, 4});
  test::FixedAdvanceMeasurer text;
  const DisplayList list = layOut(shown, {306, 126}, {}, {text, [](auto) { return Size(); }});
  EXPECT_EQ(std::get<TextItem>(list.items.back().content).text.text, kNoUidKey);
}

// The lifecycle

TEST(AffirmationWidget, EveryRecordHearsOfALocaleChange) {
  const ClientWorld world;
  // Other tests have created observers as well, and none is ever removed.
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
  ClientWorld::suite().setObject(instant("2024-03-05T09:00Z"), "affirmationLastFetchTime");
  const auto before = heard();
  const Affirmation first;
  const Affirmation second;
  const Affirmation third;
  EXPECT_EQ(heard(), before + 3);
  EXPECT_EQ(ClientWorld::suite().objectForKey("affirmationLastFetchTime"),
            Value(instant("2024-03-05T09:00Z")));
}

TEST(AffirmationWidget, TakesTheEventsOfItsSession) {
  const ClientWorld world;
  const WidgetConfiguration configuration = Affirmation().body();
  EXPECT_EQ(configuration.backgroundSessionIdentifier, kSession);
  const CapturedLog log;
  int completed = 0;
  configuration.backgroundEventsHandler("session", [&] { ++completed; });
  EXPECT_THAT(log.lines(),
              ElementsAre("[AffirmationWidget] Received background session event for identifier: "
                          "session"));
  EXPECT_EQ(completed, 0) << "only the client may call it";
  NetworkManager::shared().backgroundCompletionHandler();
  EXPECT_EQ(completed, 1);
}

}  // namespace
}  // namespace glancery
