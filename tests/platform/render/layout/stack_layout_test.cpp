#include <gtest/gtest.h>

#include "tests/platform/render/layout/layout_fixture.h"

namespace platform::test {
namespace {

const StackLayout tight = {.spacing = 0};

const LayoutCase kCases[] = {
    {"lessFlexibleOverflowsAfterMoreHasItsShare",
     hstack(tight, {frame({.maxWidth = 100}, fill()), atLeast(100)}),
     "Fill #000000FF -12.5,0 75x10\n"
     "Fill #000000FF 62.5,0 100x10\n",
     {.widget = {150, 10}}},
    {"rigidChildIsServedBeforeAnEarlierFlexibleOne",
     hstack(tight, {fill(), box(30, 10)}),
     "Fill #000000FF 0,0 70x100\n"
     "Fill #000000FF 70,45 30x10\n"},
    {"leastFlexibleFirstWhateverTheOrder",
     hstack(tight, {fill(), frame({.maxWidth = 20}, fill()), frame({.maxWidth = 60}, atLeast(30))}),
     "Fill #000000FF 0,0 40x100\n"
     "Fill #000000FF 40,0 20x100\n"
     "Fill #000000FF 60,0 40x100\n"},
    {"flexibilityIsTheRangeAndNotTheReach",
     hstack(tight, {frame({.maxWidth = 50}, fill()), frame({.maxWidth = 60}, atLeast(40))}),
     "Fill #000000FF 0,0 30x10\n"
     "Fill #000000FF 30,0 40x10\n",
     {.widget = {70, 10}}},
    {"equallyFlexibleKeepTheirOrder",
     hstack(tight, {text("abcdef ghijkl"), text("abcdef ghijkl")}),
     "Text \"abcdef\" \"ghijkl\" 2.5,38 30x24\n"
     "Text \"abcdef ghijkl\" 32.5,44 65x12\n"},
    {"gapsLieBetweenChildrenOnly",
     hstack({.spacing = 10}, {box(10, 10), box(10, 10), box(10, 10)}),
     "Fill #000000FF 25,45 10x10\n"
     "Fill #000000FF 45,45 10x10\n"
     "Fill #000000FF 65,45 10x10\n"},
    {"gapIsEightWhereNoneIsGiven",
     vstack({}, {box(10, 10), box(10, 10)}),
     "Fill #000000FF 45,36 10x10\n"
     "Fill #000000FF 45,54 10x10\n"},
    {"negativeGapOverlaps",
     hstack({.spacing = -5}, {box(10, 10), box(10, 10)}),
     "Fill #000000FF 42.5,45 10x10\n"
     "Fill #000000FF 47.5,45 10x10\n"},
    {"gapsComeOffBeforeSharing",
     hstack({.spacing = 10}, {fill(), fill()}),
     "Fill #000000FF 0,0 45x100\n"
     "Fill #000000FF 55,0 45x100\n"},
    {"onlyChildGetsEverythingAndNoGap",
     vstack({.spacing = 10}, {fill()}),
     "Fill #000000FF 0,0 100x100\n"},
    {"sharesNeverFallBelowZero",
     hstack(tight, {box(80, 10), box(80, 10), fill()}),
     "Fill #000000FF -30,45 80x10\n"
     "Fill #000000FF 50,45 80x10\n"},
    {"gapsBeyondTheProposalOfferZero",
     hstack({.spacing = 120}, {text("abc"), text("de")}),
     "Text \"a\" \"b\" \"c\" -15,32 5x36\n"
     "Text \"d\" \"e\" 110,38 5x24\n"},
    {"proposedBreadthIsPassedOn",
     vstack(tight, {text("Good morning"), text("Good evening")}),
     "Text \"Good\" \"morning\" 2.5,26 35x24\n"
     "Text \"Good\" \"evening\" 2.5,50 35x24\n",
     {.widget = {40, 100}}},
    {"columnCentresAcross",
     vstack(tight, {box(10, 10), box(30, 10)}),
     "Fill #000000FF 45,40 10x10\n"
     "Fill #000000FF 35,50 30x10\n"},
    {"rowCentresAcross",
     hstack(tight, {box(10, 10), box(10, 30)}),
     "Fill #000000FF 40,45 10x10\n"
     "Fill #000000FF 50,35 10x30\n"},
    {"nestedStacksShareTheirShare",
     hstack(tight, {vstack(tight, {fill(), box(30, 10)}), fill()}),
     "Fill #000000FF 0,0 50x90\n"
     "Fill #000000FF 10,90 30x10\n"
     "Fill #000000FF 50,0 50x100\n"},
    {"nestedFlexibleStackIsServedLast",
     hstack(tight, {hstack(tight, {fill(), fill()}), frame({.maxWidth = 80}, fill())}),
     "Fill #000000FF 0,0 25x100\n"
     "Fill #000000FF 25,0 25x100\n"
     "Fill #000000FF 50,0 50x100\n"},
    {"emptyStackIsAChildWithItsGap",
     vstack({.spacing = 10}, {hstack({}, {}), box(10, 10)}),
     "Fill #000000FF 45,50 10x10\n"},
    {"lengthsBeyondADoubleShowNothing",
     vstack(tight, {box(10, 1.7e308), box(10, 1.7e308), fill()}),
     ""},
};

class Stack : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(Stack, Shares) {
  EXPECT_EQ(displayListText(laidOut(GetParam().view, GetParam().world)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, Stack, ::testing::ValuesIn(kCases), [](const auto& row) {
  return std::string(row.param.name);
});

/// Rows in columns in rows, each with two texts and the next one.
ArchivedView nest(int depth) {
  ArchivedView view = text("the innermost text of all");
  for (int level = 0; level < depth; ++level) {
    std::vector<ArchivedView> children = {text("a few words"), view, text("more")};
    view = level % 2 == 0 ? hstack({}, std::move(children)) : vstack({}, std::move(children));
  }
  return view;
}

// Each level asks its children three times. Without a cache the number of questions would
// be 3 to the power of the depth.
TEST(StackNest, MeasuresEachTextAFewTimesOnly) {
  for (const int depth : {20, 60, 120}) {
    FixedAdvanceMeasurer measurer;
    const DisplayList list =
        layOut(nest(depth), {364, 170}, {}, {.text = measurer, .imageSize = naturalSize});
    EXPECT_EQ(list.items.size(), 2 * depth + 1u);
    EXPECT_LT(measurer.calls, 40 * depth) << depth;
  }
}

}  // namespace
}  // namespace platform::test
