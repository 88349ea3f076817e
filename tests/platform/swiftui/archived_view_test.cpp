#include "platform/swiftui/archived_view.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>

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

constexpr Alignment kCorner{HorizontalAlignment::trailing, VerticalAlignment::bottom};

// One view of every kind, no member at its default.
const std::vector<ArchivedView> kSamples = {
    sampleOf(ArchivedText{.text = "Guten Tag, Zoë 🔥",
                          .font = {"Sentient Variable", 24.5, Weight::black},
                          .tracking = -0.72,
                          .color = {0.1, 0.2, 0.3, 0.4},
                          .alignment = TextAlignment::trailing}),
    sampleOf(ArchivedImage{.name = "flame", .resizable = true}),
    sampleOf(ArchivedFill{{0.9, 0.8, 0.7, 0.6}}),
    sampleOf(StackLayout{Axis::horizontal, kCorner, 6}),
    sampleOf(OverlayStackLayout{kCorner}),
    sampleOf(PaddingModifier{{-19, 2, 3.25, -4}}),
    sampleOf(FixedFrame{.width = 12, .height = 30, .alignment = kCorner}),
    sampleOf(FlexibleFrame{1, 2, infinity, 4, 5, infinity, kCorner}),
    sampleOf(AspectRatioModifier{1.5, ContentMode::fill}),
    sampleOf(IgnoresSafeAreaModifier{Edge::horizontal}),
    sampleOf(BackgroundModifier{kCorner}),
    sampleOf(ContainerBackgroundModifier{kCorner}),
    sampleOf(ArchivedGeometryReader{}),
    sampleOf(ArchivedLink{"q://mood?day=1"}),
    sampleOf(ArchivedWidgetURL{"q://streak"}),
};

std::string faultOf(const Value& value) {
  const auto view = decodeView(value);
  return view ? "" : view.error();
}

Value rebuilt(const Value& view, const std::function<void(Array&, Dictionary&)>& edit) {
  Array parts = *view.array();
  Dictionary members = *parts.at(1).dictionary();
  edit(parts, members);
  if (parts.size() > 1 && parts[1].dictionary()) {
    parts[1] = members;
  }
  return parts;
}

TEST(ArchivedView, ComesBackAsItWas) {
  ASSERT_EQ(kSamples.size(), std::variant_size_v<ArchivedView::Element>);
  for (std::size_t i = 0; i < kSamples.size(); ++i) {
    ASSERT_EQ(kSamples[i].element.index(), i);
    EXPECT_EQ(decodeView(encodeView(kSamples[i])), kSamples[i]) << i;
  }
  const ArchivedView all{StackLayout{}, kSamples};
  EXPECT_EQ(decodeView(encodeView(all)), all);
  EXPECT_EQ(decodeView(encodeView(ArchivedView{})), ArchivedView{});
}

TEST(ArchivedView, AbsentLengthsStayAbsent) {
  for (const auto& element : {ArchivedView::Element(StackLayout{}),
                              ArchivedView::Element(FixedFrame{}),
                              ArchivedView::Element(FlexibleFrame{}),
                              ArchivedView::Element(AspectRatioModifier{})}) {
    EXPECT_EQ(decodeView(encodeView(sampleOf(element))), sampleOf(element));
  }
}

bool mayBeAbsent(const std::string& key) {
  const std::set<std::string> lengths = {"width",
                                         "height",
                                         "minWidth",
                                         "idealWidth",
                                         "maxWidth",
                                         "minHeight",
                                         "idealHeight",
                                         "maxHeight",
                                         "spacing",
                                         "ratio"};
  return lengths.contains(key);
}

// Sweeps every member of every kind: left out, of another type, and unknown.
TEST(ArchivedView, NamesTheMemberAtFault) {
  for (const ArchivedView& sample : kSamples) {
    const Value value = encodeView(sample);
    for (const auto& [key, good] : *(*value.array())[1].dictionary()) {
      const auto missing =
          faultOf(rebuilt(value, [&](Array&, Dictionary& members) { members.remove(key); }));
      EXPECT_EQ(missing.ends_with("\"" + key + "\" is missing"), !mayBeAbsent(key)) << missing;
      for (const Value& wrong : {Value(), Value(Data{"x"}), Value(Array{}), Value(Dictionary{})}) {
        const auto mistyped =
            faultOf(rebuilt(value, [&](Array&, Dictionary& members) { members.set(key, wrong); }));
        EXPECT_NE(mistyped.find("\"" + key + "\" must be "), std::string::npos) << key;
      }
    }
    const auto foreign =
        faultOf(rebuilt(value, [](Array&, Dictionary& members) { members.set("glow", 1); }));
    EXPECT_TRUE(foreign.ends_with("\"glow\" is no member of it")) << foreign;
  }
}

// Sweeps the number of children: one more and one fewer than each kind has.
TEST(ArchivedView, CountsChildren) {
  for (const ArchivedView& sample : kSamples) {
    const bool isStack = std::holds_alternative<StackLayout>(sample.element) ||
                         std::holds_alternative<OverlayStackLayout>(sample.element);
    ArchivedView more = sample;
    more.children.emplace_back();
    EXPECT_EQ(decodeView(encodeView(more)).has_value(), isStack);
    if (!sample.children.empty()) {
      ArchivedView fewer = sample;
      fewer.children.pop_back();
      EXPECT_EQ(decodeView(encodeView(fewer)).has_value(), isStack);
    }
  }
}

struct MemberCase {
  std::string_view name;
  ArchivedView::Element element;
  const char* key;
  Value value;
  std::string fault;
  friend void PrintTo(const MemberCase& row, std::ostream* out) { *out << row.name; }
};

const double nan = std::numeric_limits<double>::quiet_NaN();
const std::string kUTF8Fault = "view / (text): \"text\" must be a string of valid UTF-8";
const std::string kColorFault = "view / (fill): \"color\" must be four numbers from 0 to 1";
const std::string kWeightFault =
    "view / (text): \"weight\" must be a weight: 100, 200, and so on to 900";

const MemberCase kMembers[] = {
    {"textCutInACharacter", ArchivedText{}, "text", "Zo\xC3", kUTF8Fault},
    {"wholeNumbersAreLengths", ArchivedText{}, "size", 14, ""},
    {"sizeZero", ArchivedText{}, "size", 0.0, "view / (text): \"size\" must be a positive number"},
    {"sizeBoolean",
     ArchivedText{},
     "size",
     true,
     "view / (text): \"size\" must be a positive number"},
    {"weightBetween", ArchivedText{}, "weight", 450, kWeightFault},
    {"weightBeyond", ArchivedText{}, "weight", 1000, kWeightFault},
    {"weightThatWouldWrap", ArchivedText{}, "weight", 65536 + 400, kWeightFault},
    {"alignmentThatWouldWrap",
     ArchivedText{},
     "alignment",
     256,
     "view / (text): \"alignment\" must be an integer from 0 to 2"},
    {"alignmentNegative",
     ArchivedText{},
     "alignment",
     -1,
     "view / (text): \"alignment\" must be an integer from 0 to 2"},
    {"trackingInfinite",
     ArchivedText{},
     "tracking",
     infinity,
     "view / (text): \"tracking\" must be a finite number"},
    {"resizableNumber",
     ArchivedImage{},
     "resizable",
     1,
     "view / (image): \"resizable\" must be a boolean"},
    {"colorOfThree", ArchivedFill{}, "color", Array{0, 0, 0}, kColorFault},
    {"colorOfFive", ArchivedFill{}, "color", Array{0, 0, 0, 1, 1}, kColorFault},
    {"colorTooBright", ArchivedFill{}, "color", Array{0, 0, 1.01, 1}, kColorFault},
    {"colorNotANumber", ArchivedFill{}, "color", Array{0, 0, 0, nan}, kColorFault},
    {"colorNegative", ArchivedFill{}, "color", Array{-0.01, 0, 0, 1}, kColorFault},
    {"spacingNotANumber",
     StackLayout{},
     "spacing",
     nan,
     "view / (stack): \"spacing\" must be a finite number"},
    {"paddingInfinite",
     PaddingModifier{},
     "top",
     -infinity,
     "view / (padding): \"top\" must be a finite number"},
    {"fixedFrameInfinite",
     FixedFrame{},
     "width",
     infinity,
     "view / (fixedFrame): \"width\" must be a finite number"},
    {"minimumInfinite",
     FlexibleFrame{},
     "minWidth",
     infinity,
     "view / (flexibleFrame): \"minWidth\" must be a finite number"},
    {"idealInfinite",
     FlexibleFrame{},
     "idealHeight",
     infinity,
     "view / (flexibleFrame): \"idealHeight\" must be a finite number"},
    {"maximumInfinite", FlexibleFrame{}, "maxHeight", infinity, ""},
    {"maximumMinusInfinite",
     FlexibleFrame{},
     "maxHeight",
     -infinity,
     "view / (flexibleFrame): \"maxHeight\" must be a finite number or infinity"},
    {"maximumNotANumber",
     FlexibleFrame{},
     "maxWidth",
     nan,
     "view / (flexibleFrame): \"maxWidth\" must be a finite number or infinity"},
    {"ratioZero",
     AspectRatioModifier{},
     "ratio",
     0,
     "view / (aspectRatio): \"ratio\" must be a positive number"},
    {"edgesBeyondFour",
     IgnoresSafeAreaModifier{},
     "edges",
     16,
     "view / (ignoresSafeArea): \"edges\" must be an integer from 0 to 15"},
    {"linkNotText",
     ArchivedLink{},
     "url",
     "\xFF",
     "view / (link): \"url\" must be a string of valid UTF-8"},
};

class HostileMember : public ::testing::TestWithParam<MemberCase> {};

TEST_P(HostileMember, IsNamed) {
  const auto& row = GetParam();
  const Value value = rebuilt(encodeView(sampleOf(row.element)), [&](Array&, Dictionary& members) {
    members.set(row.key, row.value);
  });
  EXPECT_EQ(faultOf(value), row.fault);
}

INSTANTIATE_TEST_SUITE_P(Values, HostileMember, ::testing::ValuesIn(kMembers), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(HostileView, IsRefusedByItsPlace) {
  const ArchivedView row{StackLayout{}, {sampleOf(ArchivedLink{"q://a"}), ArchivedView{}}};
  const Value good = encodeView(row);
  const auto withChild = [&](std::size_t index, Value child) {
    return rebuilt(good,
                   [&](Array& parts, Dictionary&) { parts.at(index + 2) = std::move(child); });
  };
  const auto link = (*good.array())[2];
  const auto brokenFill = rebuilt(encodeView(sampleOf(ArchivedFill{})),
                                  [](Array&, Dictionary& members) { members.remove("color"); });
  const auto linkOver = [&](const Value& child) {
    return rebuilt(link, [&](Array& parts, Dictionary&) { parts.at(2) = child; });
  };

  const std::pair<Value, std::string> cases[] = {
      {Value(), "view /: a view must be an array of its kind, its members and its children"},
      {Array{"stack"}, "view /: a view must be an array of its kind, its members and its children"},
      {Array{7, Dictionary{}}, "view /: its kind must be a string"},
      {Array{"blob", Dictionary{}}, "view /: no kind of view is called \"blob\""},
      {Array{"\xFF", Dictionary{}}, "view /: no kind of view is called (unprintable)"},
      {Array{std::string(5000, 'x'), Dictionary{}},
       "view /: no kind of view is called (unprintable)"},
      {Array{"stack", Array{}}, "view / (stack): its members must be a dictionary"},
      {Array{"link", Dictionary{{"url", "q://a"}}},
       "view / (link): its children must number 1, not 0"},
      {withChild(1, 3),
       "view /1: a view must be an array of its kind, its members and its children"},
      {withChild(0, linkOver(brokenFill)), "view /0/0 (fill): \"color\" is missing"},
  };
  for (const auto& [value, fault] : cases) {
    EXPECT_EQ(faultOf(value), fault);
  }
}

int nestingOf(const Value& value) {
  int deepest = 0;
  for (const Value& element : value.array() ? *value.array() : Array{}) {
    deepest = std::max(deepest, nestingOf(element));
  }
  return value.array() || value.dictionary() ? deepest + 1 : 0;
}

TEST(ArchivedViewDepth, IsBoundedAndFitsTheMessagesBound) {
  const auto nested = [](std::size_t depth) {
    ArchivedView view;
    for (std::size_t level = 1; level < depth; ++level) {
      view = {OverlayStackLayout{}, {std::move(view)}};
    }
    return encodeView(view);
  };
  EXPECT_TRUE(decodeView(nested(kMaxViewDepth)));
  EXPECT_TRUE(faultOf(nested(kMaxViewDepth + 1))
                  .ends_with("/0/0: views lie deeper than 128 in one another"));
  // Messages nest to 256 levels, and the envelope around a view needs some of them.
  EXPECT_LE(nestingOf(nested(kMaxViewDepth)), 130);
}

}  // namespace
}  // namespace platform
