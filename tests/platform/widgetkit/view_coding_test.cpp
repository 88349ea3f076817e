#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "platform/widgetkit/extension_protocol.h"

namespace platform {
namespace {

ArchivedView sampleOf(ArchivedView::Element element) {
  const std::size_t children = std::visit(
      []<class Element>(const Element&) -> std::size_t {
        if constexpr (std::is_same_v<Element, ArchivedText> ||
                      std::is_same_v<Element, ArchivedImage> ||
                      std::is_same_v<Element, ArchivedFill>) {
          return 0;
        } else if constexpr (std::is_same_v<Element, BackgroundModifier> ||
                             std::is_same_v<Element, ContainerBackgroundModifier>) {
          return 2;
        }
        return 1;
      },
      element);
  return {std::move(element), std::vector(children, ArchivedView{ArchivedFill{Color::white}})};
}

// One view of every kind, no member at its default.
const std::vector<ArchivedView> kSamples = {
    sampleOf(ArchivedText{.text = "Guten Tag, Zoë 🔥",
                          .font = {"Sentient Variable", 24.5, Weight::black},
                          .tracking = -0.72,
                          .color = {0.1, 0.2, 0.3, 0.4},
                          .alignment = TextAlignment::trailing}),
    sampleOf(ArchivedImage{.name = "flame", .resizable = true}),
    sampleOf(ArchivedFill{{0.9, 0.8, 0.7, 0.6}}),
    sampleOf(StackLayout{Axis::horizontal, 6}),
    sampleOf(OverlayStackLayout()),
    sampleOf(PaddingModifier{{-19, 2, 3.25, -4}}),
    sampleOf(FixedFrame{.width = 12, .height = 30}),
    sampleOf(FlexibleFrame{70, infinity}),
    sampleOf(AspectRatioModifier{1.5, ContentMode::fill}),
    sampleOf(IgnoresSafeAreaModifier{Edge::horizontal}),
    sampleOf(BackgroundModifier()),
    sampleOf(ContainerBackgroundModifier()),
    sampleOf(ArchivedGeometryReader{}),
    sampleOf(ArchivedLink{"q://mood?day=1"}),
    sampleOf(ArchivedWidgetURL{"q://streak"}),
};

std::expected<ArchivedView, std::string> roundTrip(const ArchivedView& view) {
  const ExtensionMessage message = {1, ArchivedTimeline{{{.light = view, .dark = view}}, {}}};
  const auto bytes = encode(message);
  if (!bytes) {
    return std::unexpected(bytes.error());
  }
  const auto decoded = decodeExtensionMessage(*bytes);
  if (!decoded) {
    return std::unexpected(decoded.error());
  }
  return std::get<ArchivedTimeline>(decoded->content).entries.at(0).light;
}

TEST(ViewCoding, ViewsComeBackAsTheyWere) {
  ASSERT_EQ(kSamples.size(), std::variant_size_v<ArchivedView::Element>);
  for (std::size_t i = 0; i < kSamples.size(); ++i) {
    ASSERT_EQ(kSamples[i].element.index(), i);
    EXPECT_EQ(roundTrip(kSamples[i]), kSamples[i]) << i;
  }
  const ArchivedView all{StackLayout{}, kSamples};
  EXPECT_EQ(roundTrip(all), all);
  EXPECT_EQ(roundTrip(ArchivedView{}), ArchivedView{});
}

TEST(ViewCoding, AbsentLengthsStayAbsent) {
  for (const auto& element : {ArchivedView::Element(StackLayout{}),
                              ArchivedView::Element(FixedFrame{}),
                              ArchivedView::Element(FlexibleFrame{}),
                              ArchivedView::Element(AspectRatioModifier{})}) {
    EXPECT_EQ(roundTrip(sampleOf(element)), sampleOf(element));
  }
}

// Sweeps the number of children: one more and one fewer than each kind has.
TEST(ViewCoding, CountsChildren) {
  for (const ArchivedView& sample : kSamples) {
    const bool isStack = std::holds_alternative<StackLayout>(sample.element) ||
                         std::holds_alternative<OverlayStackLayout>(sample.element);
    ArchivedView more = sample;
    more.children.emplace_back();
    EXPECT_EQ(roundTrip(more).has_value(), isStack);
    if (!sample.children.empty()) {
      ArchivedView fewer = sample;
      fewer.children.pop_back();
      EXPECT_EQ(roundTrip(fewer).has_value(), isStack);
    }
  }
}

struct MemberCase {
  std::string_view name;
  ArchivedView::Element element;
  /// Empty where the value is allowed.
  std::string fault;
  friend void PrintTo(const MemberCase& row, std::ostream* out) { *out << row.name; }
};

const double nan = std::numeric_limits<double>::quiet_NaN();
const std::string kWeightFault = "view (text): \"weight\" must be an integer from 100 to 900";

ArchivedText styled(Font font) {
  return {.text = "a", .font = std::move(font)};
}

const MemberCase kMembers[] = {
    {"textCutInACharacter", ArchivedText{"Zo\xC3"}, "view (text): \"text\" must be valid UTF-8"},
    {"sizeZero", styled({.size = 0}), "view (text): \"size\" must be a positive number"},
    {"sizeNotANumber", styled({.size = nan}), "view (text): \"size\" must be a positive number"},
    {"weightBetween",
     styled({.weight = static_cast<Weight>(450)}),
     "view (text): \"weight\" must be a multiple of 100"},
    {"weightBeyond", styled({.weight = static_cast<Weight>(1000)}), kWeightFault},
    {"weightZero", styled({.weight = static_cast<Weight>(0)}), kWeightFault},
    {"alignmentBeyond",
     ArchivedText{.alignment = static_cast<TextAlignment>(3)},
     "view (text): \"alignment\" must be an integer from 0 to 2"},
    {"trackingInfinite",
     ArchivedText{.tracking = infinity},
     "view (text): \"tracking\" must be a finite number"},
    {"colorTooBright",
     ArchivedFill{{0, 0, 1.01, 1}},
     "view (fill): \"blue\" must be a number from 0 to 1"},
    {"colorNotANumber",
     ArchivedFill{{0, 0, 0, nan}},
     "view (fill): \"opacity\" must be a number from 0 to 1"},
    {"colorNegative",
     ArchivedFill{{-0.01, 0, 0, 1}},
     "view (fill): \"red\" must be a number from 0 to 1"},
    {"textColorTooBright",
     ArchivedText{.color = {0, 1.01, 0, 1}},
     "view (text): \"green\" must be a number from 0 to 1"},
    {"axisBeyond",
     StackLayout{.axis = static_cast<Axis>(2)},
     "view (stack): \"axis\" must be an integer from 0 to 1"},
    {"spacingNotANumber",
     StackLayout{.spacing = nan},
     "view (stack): \"spacing\" must be a finite number"},
    {"paddingInfinite",
     PaddingModifier{{.top = -infinity}},
     "view (padding): \"top\" must be a finite number"},
    {"fixedFrameInfinite",
     FixedFrame{.width = infinity},
     "view (fixedFrame): \"width\" must be a finite number"},
    {"maximumInfinite", FlexibleFrame{.maxHeight = infinity}, ""},
    {"maximumMinusInfinite",
     FlexibleFrame{.maxHeight = -infinity},
     "view (flexibleFrame): \"maxHeight\" must be a finite number or infinity"},
    {"maximumNotANumber",
     FlexibleFrame{.maxWidth = nan},
     "view (flexibleFrame): \"maxWidth\" must be a finite number or infinity"},
    {"ratioZero",
     AspectRatioModifier{.ratio = 0},
     "view (aspectRatio): \"ratio\" must be a positive number"},
    {"modeBeyond",
     AspectRatioModifier{.contentMode = static_cast<ContentMode>(2)},
     "view (aspectRatio): \"mode\" must be an integer from 0 to 1"},
    {"edgesBeyondFour",
     IgnoresSafeAreaModifier{static_cast<Edge>(16)},
     "view (ignoresSafeArea): \"edges\" must be an integer from 0 to 15"},
    {"linkNotText", ArchivedLink{"\xFF"}, "view (link): \"url\" must be valid UTF-8"},
};

class HostileMember : public ::testing::TestWithParam<MemberCase> {};

TEST_P(HostileMember, IsNamed) {
  const auto view = roundTrip(sampleOf(GetParam().element));
  EXPECT_EQ(view ? "" : view.error(), GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(Values, HostileMember, ::testing::ValuesIn(kMembers), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(HostileView, IsNamedByItsPlace) {
  const ArchivedView broken = {ArchivedFill{{.red = 2}}};
  const ArchivedView row = {StackLayout{}, {ArchivedView{}, {ArchivedLink{"q://a"}, {broken}}}};
  EXPECT_EQ(roundTrip(row).error(), "view/1/0 (fill): \"red\" must be a number from 0 to 1");
  EXPECT_EQ(roundTrip({ArchivedLink{"q://a"}}).error(), "view (link): \"children\" must number 1");
}

TEST(HostileView, DepthIsBoundedInBothDirections) {
  ArchivedView view;
  for (std::size_t level = 1; level < kMaxViewDepth; ++level) {
    view = {OverlayStackLayout{}, {std::move(view)}};
  }
  EXPECT_EQ(roundTrip(view), view);
  EXPECT_THAT(roundTrip({OverlayStackLayout{}, {view}}).error(),
              ::testing::EndsWith("/0/0 (overlayStack): \"children\" are nested too deeply"));
}

}  // namespace
}  // namespace platform
