#include "widgets/moodlog/binnacle_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/widgetkit/extension_service.h"
#include "store/shared_store.h"
#include "tests/widgets/view_dump.h"
#include "tests/world.h"
#include "widgets/moodlog/binnacle_widget.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using enum MoodType;
using ::testing::ElementsAre;
using ::testing::Pair;

constexpr Size kMedium = {338, 158};

BinnacleView view(const std::vector<MoodType>& moods) {
  BinnacleView shown = {.entry = {.configuration = std::make_shared<ConfigurationIntent>()}};
  for (const MoodType mood : moods) {
    const std::string label = "D" + std::to_string(shown.entry.moodDays.size());
    shown.entry.moodDays.push_back({.dayLabel = label, .mood = mood});
  }
  return shown;
}

const std::vector<MoodType> kWeek = {veryBad, bad, neutral, well, veryWell, emptyDay, well};

// By hand: 305 points of pictures and gaps in the middle of 338, 62.2 of picture, gap and label in
// the middle of 158.
constexpr const char* kShown =
    "Fill #FAF6F2FF 0,0 338x158\n"
    "Image \"veryBad\" 16.5,47.9 35x35\nText \"D0\" 28.5,96.9 11x13.2\n"
    "Image \"bad\" 61.5,47.9 35x35\nText \"D1\" 73.5,96.9 11x13.2\n"
    "Image \"neutral\" 106.5,47.9 35x35\nText \"D2\" 118.5,96.9 11x13.2\n"
    "Image \"well\" 151.5,47.9 35x35\nText \"D3\" 163.5,96.9 11x13.2\n"
    "Image \"veryWell\" 196.5,47.9 35x35\nText \"D4\" 208.5,96.9 11x13.2\n"
    "Image \"emptyDay\" 241.5,47.9 35x35\nText \"D5\" 253.5,96.9 11x13.2\n"
    "Image \"well\" 286.5,47.9 35x35\nText \"D6\" 298.5,96.9 11x13.2\n";

TEST(BinnacleView, IsAWeekInTheMiddleOnBothSystems) {
  setCurrentDevice({.systemVersion = {16, 4}});
  EXPECT_EQ(displayListText(laidOut(view(kWeek), kMedium)), kShown);
  // Before iOS 17 the background belongs to the content, from then on to the widget.
  EXPECT_EQ(laidOut(view(kWeek), kMedium, kMargins).items.at(0).frame, (Rect{16, 16, 306, 126}));
  setCurrentDevice({.systemVersion = {17, 0}});
  EXPECT_EQ(displayListText(laidOut(view(kWeek), kMedium, kMargins)), kShown);
}

TEST(BinnacleView, IsSmallerBelow300Points) {
  for (const auto& [width, picture, label] :
       {std::tuple(299.0, 30, 8), {299.9, 30, 8}, {300.0, 35, 11}}) {
    for (const EdgeInsets& margins : {kNoMargins, kMargins}) {
      setCurrentDevice({.systemVersion = {margins == kNoMargins ? 16 : 17, 0}});
      const auto list =
          laidOut(view(kWeek), {width + margins.leading + margins.trailing, 158}, margins);
      EXPECT_EQ(list.items.at(1).frame.size(), (Size(picture, picture))) << width;
      EXPECT_EQ(std::get<TextItem>(list.items.at(2).content).text.font.size, label) << width;
      EXPECT_EQ(list.items.at(3).frame.x - list.items.at(1).frame.x, picture + 10) << width;
    }
  }
}

TEST(BinnacleView, FollowsTheSchemeAndSoDoesTheEmptyDayAlone) {
  const auto light = laidOut(view(kWeek), kMedium);
  const auto dark = laidOut(view(kWeek), kMedium, kNoMargins, ColorScheme::dark);
  EXPECT_EQ(textStyles(light).at(0), "11 500 #674B28FF D0");
  EXPECT_EQ(textStyles(dark).at(0), "11 500 #FFFFFF99 D0");
  EXPECT_EQ(std::get<FillItem>(dark.items.at(0).content).color,
            (Color{0x24 / 255.0, 0x2E / 255.0, 0x33 / 255.0}));
  for (std::size_t picture = 1; picture < dark.items.size(); picture += 2) {
    const auto name = std::get<ImageItem>(light.items.at(picture).content).name;
    EXPECT_EQ(std::get<ImageItem>(dark.items.at(picture).content).name,
              name == "emptyDay" ? "emptyDayDark" : name);
  }
}

TEST(BinnacleView, ShowsTheLastSevenDaysAndLoadsWithoutAny) {
  ::testing::internal::CaptureStderr();
  EXPECT_THAT(textStyles(laidOut(view(std::vector(9, bad)), kMedium)),
              ElementsAre("11 500 #674B28FF D2",
                          "11 500 #674B28FF D3",
                          "11 500 #674B28FF D4",
                          "11 500 #674B28FF D5",
                          "11 500 #674B28FF D6",
                          "11 500 #674B28FF D7",
                          "11 500 #674B28FF D8"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "")
      << "days with the same mood differ by their ids";
  EXPECT_EQ(laidOut(view({bad, well}), kMedium).items.size(), 5u);
  EXPECT_THAT(textStyles(laidOut(view({}), kMedium)),
              ElementsAre("12 400 #3C3C4399 Cargando ánimo..."));
}

TEST(BinnacleView, StacksAsItIsDesigned) {
  setCurrentDevice({.systemVersion = {17, 0}});
  const ArchivedView archived = archiveView(view(kWeek), {306, 126}, {}, NSBundle::mainBundle());
  const ArchivedView& frame = archived.children.at(0).children.at(0);
  EXPECT_EQ(frame.element,
            ArchivedView::Element(FlexibleFrame{.maxWidth = infinity, .maxHeight = infinity}));
  EXPECT_EQ(frame.children.at(0).element, ArchivedView::Element(StackLayout{.spacing = 5}));
}

TEST(BinnacleView, ShowsItsLabelsAsTheyAre) {
  const Translated bundle("D0");
  EXPECT_THAT(textStyles(laidOut(view({bad}), kMedium)), ElementsAre("11 500 #674B28FF D0"));
}

TEST(BinnacleWidget, LinksForAUserAndPrintsItsDays) {
  const Container container;
  phoneAt(instant("2025-03-05T18:30:00Z"));
  ExtensionMessage answer;
  ExtensionService service({Binnacle().body()},
                           [&](ExtensionMessage message) { answer = std::move(message); });
  const auto ask = [&](ProvideRequest::What what) {
    service.handle({1, ProvideRequest{what, kBinnacleKind, {WidgetFamily::systemMedium, kMedium}}});
    return std::get<ArchivedTimeline>(answer.content).entries.at(0);
  };
  const ArchivedView::Element link = ArchivedWidgetURL{"quiloapp://binnacle"};
  EXPECT_NE(ask(ProvideRequest::What::snapshot).light.element, link);
  NSUserDefaults::initWithSuiteName(kAppGroupIdentifier)->setObject("u", kSharedUidKey);
  const ArchivedEntry entry = ask(ProvideRequest::What::snapshot);
  EXPECT_EQ(entry.light.element, link);
  EXPECT_NE(ask(ProvideRequest::What::placeholder).light.element, link);

  EXPECT_THAT(
      entry.fields,
      ::testing::MatchesRegex(R"(\{"date":"[^"]*","moodDays":\[.*,)"
                              R"(\{"id":"[-0-9A-F]{36}","date":"2025-03-05T00:00:00\.000Z",)"
                              R"("dayLabel":"TODAY_LABEL","mood":"well"\}\],)"
                              R"("configuration":"ConfigurationIntent","hasUid":true\})"));
}

}  // namespace
}  // namespace glancery
