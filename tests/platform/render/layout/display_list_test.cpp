#include "platform/render/layout/display_list.h"

#include <gtest/gtest.h>

#include "tests/display_list_text.h"

namespace platform {
namespace {

DisplayList sample() {
  const ArchivedText text{.text = "Keep \"it\"\ngoing",
                          .font = {.size = 14, .weight = Weight::semibold},
                          .tracking = -0.48,
                          .color = {.red = 1, .green = 0.5, .opacity = 0.6},
                          .alignment = TextAlignment::center};
  return {
      .size = {158, 158},
      .widgetURL = "q://streak",
      .items = {{.content = FillItem{Color::white}, .frame = {-0.0004, 0, 1e6, 1.0 / 3}},
                {.content = ImageItem{"flame"}, .frame = {12, 52.25, 18, 30}, .link = "q://f"},
                {.content = TextItem{text, {"Keep \"it\"", "go…"}}, .frame = {2, 3, 4, 5.126}}}};
}

TEST(DisplayListText, IsALineAnItem) {
  EXPECT_EQ(displayListText(sample()),
            "Fill #FFFFFFFF 0,0 1000000x0.33\n"
            "Image \"flame\" 12,52.25 18x30 -> q://f\n"
            "Text \"Keep \\\"it\\\"\" \"go…\" 2,3 4x5.13\n");
}

TEST(DisplayListJSON, HoldsEveryMemberInOrder) {
  EXPECT_EQ(displayListJSON(sample()), R"({
  "size": {
    "width": 158,
    "height": 158
  },
  "widgetURL": "q://streak",
  "items": [
    {
      "type": "fill",
      "frame": [
        0,
        0,
        1000000,
        0.333
      ],
      "color": "#FFFFFFFF"
    },
    {
      "type": "image",
      "frame": [
        12,
        52.25,
        18,
        30
      ],
      "name": "flame",
      "link": "q://f"
    },
    {
      "type": "text",
      "frame": [
        2,
        3,
        4,
        5.126
      ],
      "text": "Keep \"it\"\ngoing",
      "lines": [
        "Keep \"it\"",
        "go…"
      ],
      "font": {
        "family": "system",
        "size": 14,
        "weight": 600
      },
      "tracking": -0.48,
      "alignment": "center",
      "color": "#FF800099"
    }
  ]
})");
}

TEST(DisplayListJSON, OfNothingIsStillAList) {
  EXPECT_EQ(displayListJSON({.size = {1.5, 2}}), R"({
  "size": {
    "width": 1.5,
    "height": 2
  },
  "widgetURL": null,
  "items": []
})");
}

struct TapCase {
  std::string_view name;
  Point point;
  std::optional<std::string> opened;
  friend void PrintTo(const TapCase& row, std::ostream* out) { *out << row.name; }
};

const TapCase kTaps[] = {
    {"frontmostLinkWins", {20, 20}, "q://front"},
    {"unlinkedItemInFrontDoesNotCover", {5, 5}, "q://back"},
    {"besideEveryLinkTheWidgetOpens", {90, 90}, "q://widget"},
    {"startEdgesBelongToTheFrame", {10, 10}, "q://front"},
    {"endEdgesDoNot", {30, 20}, "q://back"},
    {"partBeyondTheWidgetIsNoTapArea", {-5, 5}, std::nullopt},
    {"endEdgeOfTheWidgetIsOutside", {100, 20}, std::nullopt},
};

class Tap : public ::testing::TestWithParam<TapCase> {};

TEST_P(Tap, Opens) {
  const DisplayList list{.size = {100, 100},
                         .widgetURL = "q://widget",
                         .items = {{ImageItem{"back"}, {-10, -10, 60, 60}, "q://back"},
                                   {ImageItem{"front"}, {10, 10, 20, 20}, "q://front"},
                                   {ImageItem{"decoration"}, {0, 0, 100, 100}, std::nullopt}}};
  EXPECT_EQ(linkAt(list, GetParam().point), GetParam().opened);
}

INSTANTIATE_TEST_SUITE_P(Points, Tap, ::testing::ValuesIn(kTaps), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(TapWithoutWidgetURL, OpensNothing) {
  EXPECT_EQ(linkAt({.size = {100, 100}}, {5, 5}), std::nullopt);
}

}  // namespace
}  // namespace platform
