#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/render/layout/layout_fixture.h"

namespace platform::test {
namespace {

constexpr auto rightToLeft = LayoutDirection::rightToLeft;

const StackLayout tight = {.spacing = 0};

/// Makes the size of a view visible by a background.
ArchivedView shown(ArchivedView view) {
  return background(std::move(view), fill(Color::white));
}

/// Two children that together take more than 150 points.
ArchivedView tooLong() {
  return hstack(tight, {frame({.maxWidth = 100}, fill()), atLeast(100)});
}

const LayoutCase kLeaves[] = {
    {"rootIsCentredWithinItsMargins",
     box(20, 10),
     "Fill #000000FF 50,35 20x10\n",
     {.margins = {.top = 10, .leading = 20, .bottom = 30}}},
    {"marginsBeyondTheWidgetLeaveNothing",
     hstack(tight, {image("flame"), fill()}),
     "Image \"flame\" 51,45 18x30\n",
     {.margins = {.top = 60, .leading = 60, .bottom = 60, .trailing = 60}}},
    {"transparentFillIsNotListed", fill({.red = 1, .opacity = 0}), ""},
    {"imageKeepsItsNaturalSize", image("flame"), "Image \"flame\" 41,35 18x30\n"},
    {"resizableImageTakesTheProposal", resizable("flame"), "Image \"flame\" 0,0 100x100\n"},
    {"missingImageIsEmptyButListed", image("gone"), "Image \"gone\" 50,50 0x0\n"},
    {"missingImageHasNoRatioToKeep", fit(resizable("gone")), "Image \"gone\" 0,0 100x100\n"},
    {"textWrapsAtTheProposal",
     text("Good morning"),
     "Text \"Good\" \"morning\" 2.5,38 35x24\n",
     {.widget = {40, 100}}},
    {"textDropsLinesThatDoNotFit",
     text("Good morning"),
     "Text \"Good…\" 7.5,0 25x12\n",
     {.widget = {40, 12}}},
    {"textIsBrokenForTheProposalItIsPlacedWith",
     zstack({box(80, 10), text("Good morning")}),
     "Fill #000000FF -20,45 80x10\n"
     "Text \"Good morning\" -10,44 60x12\n",
     {.widget = {40, 100}}},
    {"geometryReaderTakesAllAndPlacesTopLeading",
     shown(geometryReader(box(10, 20))),
     "Fill #FFFFFFFF 0,0 100x100\n"
     "Fill #000000FF 0,0 10x20\n"},
    {"geometryReaderOffersItsSize",
     geometryReader(padding(10, fill())),
     "Fill #000000FF 10,10 80x80\n"},
};

const LayoutCase kFrames[] = {
    {"paddingShrinksTheProposal",
     padding({.top = 10, .leading = 20, .bottom = 30}, fill()),
     "Fill #000000FF 20,10 80x60\n"},
    {"paddingBeyondTheProposalOffersZeroAndStillCounts",
     shown(padding(60, fill())),
     "Fill #FFFFFFFF -10,-10 120x120\n"},
    {"negativePaddingOffersMore", padding(-19, fill()), "Fill #000000FF -19,-19 138x138\n"},
    {"negativePaddingExtendsBeyondTheReportedSize",
     vstack(tight, {padding({.top = -4}, box(10, 20)), box(10, 5)}),
     "Fill #000000FF 45,35.5 10x20\n"
     "Fill #000000FF 45,55.5 10x5\n"},
    {"negativePaddingReportsNoNegativeSize",
     vstack(tight, {padding(-30, box(10, 10)), box(10, 10)}),
     "Fill #000000FF 20,15 10x10\n"
     "Fill #000000FF 45,45 10x10\n"},
    {"fixedFrameCentresWithoutClipping",
     frame({.width = 10, .height = 10}, image("flame")),
     "Image \"flame\" 41,35 18x30\n"},
    {"fixedFrameLeavesTheOtherAxisAlone",
     shown(frame(FixedFrame{.height = 30}, fit(resizable("flame")))),
     "Fill #FFFFFFFF 41,35 18x30\n"
     "Image \"flame\" 41,35 18x30\n"},
    {"negativeFrameIsEmpty",
     shown(frame({.width = -20, .height = 30}, image("flame"))),
     "Image \"flame\" 41,35 18x30\n"},
    {"fixedFrameKeepsTheProposalWhenItPlaces",
     frame(FixedFrame{.height = 20}, tooLong()),
     "Fill #000000FF -12.5,0 75x20\n"
     "Fill #000000FF 62.5,0 100x20\n",
     {.widget = {150, 20}}},
    {"flexibleFrameProposesItsOwnSizeWhenItPlaces",
     frame(FlexibleFrame{.maxHeight = 20}, tooLong()),
     "Fill #000000FF -18.75,0 87.5x20\n"
     "Fill #000000FF 68.75,0 100x20\n",
     {.widget = {150, 20}}},
    {"infiniteMaximumTakesTheProposal",
     shown(frame({.maxWidth = infinity, .maxHeight = infinity}, box(10, 20))),
     "Fill #FFFFFFFF 0,0 100x100\n"
     "Fill #000000FF 45,40 10x20\n"},
    {"maximumBoundsWhatIsOffered", frame({.maxWidth = 40}, fill()), "Fill #000000FF 30,0 40x100\n"},
    {"maximumIsTakenByASmallerChild",
     shown(frame({.maxWidth = 60}, box(10, 10))),
     "Fill #FFFFFFFF 20,45 60x10\n"
     "Fill #000000FF 45,45 10x10\n"},
    {"maximumOutOfReachGoesByTheProposal",
     shown(frame({.maxWidth = 300}, box(10, 10))),
     "Fill #FFFFFFFF 0,45 100x10\n"
     "Fill #000000FF 45,45 10x10\n"},
    {"maximumOutOfReachGrowsWithTheChild",
     shown(frame({.maxWidth = 300}, box(140, 10))),
     "Fill #FFFFFFFF -20,45 140x10\n"
     "Fill #000000FF -20,45 140x10\n"},
    {"childCountsUpToTheMaximumWhereNothingIsProposed",
     fit(frame({.maxWidth = 10}, resizable("tall"))),
     "Image \"tall\" 45,0 10x100\n"},
};

const LayoutCase kRatios[] = {
    {"fitStaysInside", fit(resizable("wide")), "Image \"wide\" 0,37.5 100x25\n"},
    {"fillReportsMoreThanProposed",
     shown(filling(resizable("wide"))),
     "Fill #FFFFFFFF -150,0 400x100\n"
     "Image \"wide\" -150,0 400x100\n"},
    {"givenRatioReplacesTheChilds", fit(resizable("tall"), 2), "Image \"tall\" 0,25 100x50\n"},
    {"givenRatioFills", filling(fill(), 2), "Fill #000000FF -50,0 200x100\n"},
    {"rigidChildIsReportedAsItIs",
     shown(fit(image("flame"))),
     "Fill #FFFFFFFF 41,35 18x30\n"
     "Image \"flame\" 41,35 18x30\n"},
    {"ratioOfAStackComesFromItsIdealLengths",
     fit(hstack({.spacing = 2}, {resizable("flame"), resizable("wide")})),
     "Image \"flame\" 0,35 49x30\n"
     "Image \"wide\" 51,35 49x30\n"},
    {"absentAxisSetsNoLimit",
     filling(frame(FixedFrame{.height = 60}, filling(resizable("flame")))),
     "Image \"flame\" 0,-33.33 100x166.67\n"},
};

const LayoutCase kLayers[] = {
    {"overlayStackIsAsLargeAsItsLargest",
     zstack({box(40, 20), box(10, 30), box(4, 4)}),
     "Fill #000000FF 30,40 40x20\n"
     "Fill #000000FF 45,35 10x30\n"
     "Fill #000000FF 48,48 4x4\n"},
    {"childLargerThanTheProposalEnlargesItsSiblings",
     zstack({filling(resizable("wide")), fill()}),
     "Image \"wide\" -150,0 400x100\n"
     "Fill #000000FF -150,0 400x100\n"},
    {"emptyOverlayStackShowsNothing", zstack({}), ""},
    {"backgroundIsBehindAndCentred",
     background(image("flame"), box(10, 10)),
     "Fill #000000FF 45,45 10x10\n"
     "Image \"flame\" 41,35 18x30\n"},
    {"backgroundNeverChangesTheSize",
     vstack(tight, {background(box(10, 10), image("flame")), box(10, 10)}),
     "Image \"flame\" 41,30 18x30\n"
     "Fill #000000FF 45,40 10x10\n"
     "Fill #000000FF 45,50 10x10\n"},
    {"ignoringTheSafeAreaMovesNothing",
     padding(10, node(IgnoresSafeAreaModifier{}, {fill()})),
     "Fill #000000FF 10,10 80x80\n"},
    {"containerBackgroundLiesUnderTheMargins",
     zstack({box(20, 20), containerBackground(box(10, 10), fill(Color::white))}),
     "Fill #FFFFFFFF 0,0 100x100\n"
     "Fill #000000FF 48,40 20x20\n"
     "Fill #000000FF 53,45 10x10\n",
     {.margins = {.leading = 16}}},
    {"outermostContainerBackgroundWins",
     containerBackground(containerBackground(box(10, 10), image("flame")), fill(Color::white)),
     "Fill #FFFFFFFF 0,0 100x100\n"
     "Fill #000000FF 45,45 10x10\n"},
    {"linkReachesItsContentAndNothingElse",
     hstack(tight, {link("q://a", shown(box(10, 10))), box(10, 10)}),
     "Fill #FFFFFFFF 40,45 10x10 -> q://a\n"
     "Fill #000000FF 40,45 10x10 -> q://a\n"
     "Fill #000000FF 50,45 10x10\n"},
    {"innerLinkWinsAndTheOuterComesBack",
     link("q://a", vstack(tight, {link("q://b", box(10, 10)), box(10, 10)})),
     "Fill #000000FF 45,40 10x10 -> q://b\n"
     "Fill #000000FF 45,50 10x10 -> q://a\n"},
    {"containerBackgroundIsOutsideOfLinks",
     link("q://a", containerBackground(box(10, 10), fill(Color::white))),
     "Fill #FFFFFFFF 0,0 100x100\n"
     "Fill #000000FF 45,45 10x10 -> q://a\n"},
};

const LayoutCase kRightToLeft[] = {
    {"rowsRunFromTheRight",
     hstack({.spacing = 5}, {box(10, 10), box(20, 10)}),
     "Fill #000000FF 57.5,45 10x10\n"
     "Fill #000000FF 32.5,45 20x10\n",
     {.direction = rightToLeft}},
    {"leadingPaddingIsOnTheRight",
     padding({.leading = 10}, fill()),
     "Fill #000000FF 0,0 90x100\n",
     {.direction = rightToLeft}},
    {"leadingMarginIsOnTheRight",
     fill(),
     "Fill #000000FF 0,0 80x100\n",
     {.margins = {.leading = 20}, .direction = rightToLeft}},
    {"geometryReadersPlaceAtTheRight",
     geometryReader(box(10, 10)),
     "Fill #000000FF 90,0 10x10\n",
     {.direction = rightToLeft}},
    {"containerBackgroundsMirrorToo",
     containerBackground(box(10, 10), padding({.leading = 10}, fill(Color::white))),
     "Fill #FFFFFFFF 0,0 90x100\n"
     "Fill #000000FF 45,45 10x10\n",
     {.direction = rightToLeft}},
};

class Layout : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(Layout, Places) {
  EXPECT_EQ(displayListText(laidOut(GetParam().view, GetParam().world)), GetParam().expected);
}

const auto byName = [](const auto& row) { return std::string(row.param.name); };
INSTANTIATE_TEST_SUITE_P(Leaves, Layout, ::testing::ValuesIn(kLeaves), byName);
INSTANTIATE_TEST_SUITE_P(Frames, Layout, ::testing::ValuesIn(kFrames), byName);
INSTANTIATE_TEST_SUITE_P(Ratios, Layout, ::testing::ValuesIn(kRatios), byName);
INSTANTIATE_TEST_SUITE_P(Layers, Layout, ::testing::ValuesIn(kLayers), byName);
INSTANTIATE_TEST_SUITE_P(RightToLeft, Layout, ::testing::ValuesIn(kRightToLeft), byName);

TEST(LayoutAddress, OutermostWidgetURLWins) {
  const auto view = zstack(
      {widgetURL("q://outer", widgetURL("q://inner", fill())), widgetURL("q://late", fill())});
  EXPECT_EQ(laidOut(view).widgetURL, "q://outer");
  EXPECT_EQ(laidOut(fill()).widgetURL, std::nullopt);
}

TEST(LayoutText, AlignmentOfLinesIsPhysical) {
  const auto alignmentOf = [](TextAlignment alignment, LayoutDirection direction) {
    const auto view = node(ArchivedText{.text = "a", .alignment = alignment});
    const DisplayList list = laidOut(view, {.direction = direction});
    return std::get<TextItem>(list.items.at(0).content).text.alignment;
  };
  EXPECT_EQ(alignmentOf(TextAlignment::leading, rightToLeft), TextAlignment::trailing);
  EXPECT_EQ(alignmentOf(TextAlignment::center, rightToLeft), TextAlignment::center);
  EXPECT_EQ(alignmentOf(TextAlignment::trailing, rightToLeft), TextAlignment::leading);
  EXPECT_EQ(alignmentOf(TextAlignment::leading, LayoutDirection::leftToRight),
            TextAlignment::leading);
}

TEST(LayoutDeathTest, MissingChildStopsByName) {
  EXPECT_DEATH(laidOut(node(PaddingModifier{})), "archived view lacks a child");
}

}  // namespace
}  // namespace platform::test
