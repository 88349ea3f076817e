#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/widgets/view_dump.h"
#include "tests/world.h"
#include "widgets/checkin/checkin_entry_view.h"
#include "widgets/checkin/checkin_widget.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;
using ::testing::ElementsAre;

constexpr Size kMedium = {338, 158};

CheckinEntryView view(bool hasUid) {
  CheckinEntryView shown = {.entry = {.date = instant("2025-03-05T18:30:00Z"),
                                      .configuration = std::make_shared<ConfigurationIntent>()}};
  if (hasUid) {
    shown.entry.hasUid = true;
  }
  return shown;
}

void phone(OperatingSystemVersion version) {
  Device device = currentDevice();
  device.timeZone = "UTC";
  device.locale = "es_MX";
  device.systemVersion = version;
  setCurrentDevice(device);
}

// By hand: 119.2 points of title, faces, date and gaps stand in the middle of 158, so do the 296
// of five faces and four gaps in 338.
constexpr const char* kLinked =
    "Fill #FAF6F2FF 0,0 338x158\n"
    "Text \"CHECKIN_TITLE\" 123.5,19.4 91x16.8\n"
    "Image \"veryBad\" 21,60.2 40x40 -> quiloapp://emotion/veryBad\n"
    "Image \"bad\" 85,60.2 40x40 -> quiloapp://emotion/bad\n"
    "Image \"neutral\" 149,60.2 40x40 -> quiloapp://emotion/neutral\n"
    "Image \"well\" 213,60.2 40x40 -> quiloapp://emotion/well\n"
    "Image \"veryWell\" 277,60.2 40x40 -> quiloapp://emotion/veryWell\n"
    "Text \"05 de marzo, 2025\" 118,124.2 102x14.4\n";

TEST(CheckinView, StandsInTheMiddleOnBothSystems) {
  phone({16, 4});
  EXPECT_EQ(displayListText(laidOut(view(true), kMedium)), kLinked);
  // Before iOS 17 the background belongs to the content, from then on to the widget.
  EXPECT_EQ(laidOut(view(true), kMedium, kMargins).items.at(0).frame, (Rect{16, 16, 306, 126}));
  phone({17, 0});
  EXPECT_EQ(displayListText(laidOut(view(true), kMedium, kMargins)), kLinked);
}

TEST(CheckinView, WithoutAUserHasTheSameFacesAndNoLinks) {
  DisplayList list = laidOut(view(true), kMedium);
  for (DisplayItem& item : list.items) {
    item.link.reset();
  }
  EXPECT_EQ(laidOut(view(false), kMedium), list);
  EXPECT_EQ(list.widgetURL, std::nullopt);
}

TEST(CheckinWidget, PrintsItsEntry) {
  const Container container;
  phoneAt(instant("2025-03-05T18:30:00Z"));
  EXPECT_EQ(Checkin().body().provider->placeholder({}).fields,
            (Mirror{{"date", instant("2025-03-05T18:30:00Z")},
                    {"configuration", "ConfigurationIntent"},
                    {"hasUid", false}}));
}

TEST(CheckinView, ShowsItsDateAsItIs) {
  phone({17, 0});
  const Translated bundle("05 de marzo, 2025");
  EXPECT_EQ(textStyles(laidOut(view(true), kMedium)).back(), "12 500 #936A39FF 05 de marzo, 2025");
}

TEST(CheckinView, MovesItsFacesTogetherBelow300Points) {
  for (const auto& [width, gap] : {std::pair(299.0, 8), {299.9, 8}, {300.0, 24}}) {
    for (const EdgeInsets& margins : {kNoMargins, kMargins}) {
      phone({margins == kNoMargins ? 16 : 17, 0});
      const auto list =
          laidOut(view(true), {width + margins.leading + margins.trailing, 158}, margins);
      EXPECT_DOUBLE_EQ(list.items.at(3).frame.x - list.items.at(2).frame.x, 40 + gap) << width;
    }
  }
}

TEST(CheckinView, FollowsTheScheme) {
  const auto light = laidOut(view(true), kMedium);
  const auto dark = laidOut(view(true), kMedium, kNoMargins, ColorScheme::dark);
  EXPECT_THAT(textStyles(light),
              ElementsAre("14 700 #873A00FF CHECKIN_TITLE", "12 500 #936A39FF 05 de marzo, 2025"));
  EXPECT_THAT(textStyles(dark),
              ElementsAre("14 700 #A7DCDAFF CHECKIN_TITLE", "12 500 #FFFFFF99 05 de marzo, 2025"));
  EXPECT_EQ(std::get<FillItem>(dark.items.at(0).content).color,
            (Color{0x24 / 255.0, 0x2E / 255.0, 0x33 / 255.0}));
  for (std::size_t face = 2; face < 7; ++face) {
    EXPECT_EQ(dark.items.at(face), light.items.at(face));
  }
}

}  // namespace
}  // namespace glancery
