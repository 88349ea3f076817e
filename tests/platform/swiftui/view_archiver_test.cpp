#include "platform/swiftui/view_archiver.h"

#include <gtest/gtest.h>

#include "platform/foundation/bundle/bundle.h"
#include "platform/swiftui/stacks.h"
#include "tests/world.h"

namespace platform {
namespace {

ArchivedView archived(const View& view, ColorScheme scheme = ColorScheme::light) {
  static const NSBundle bundle{std::filesystem::path("/nonexistent")};
  return archiveView(view, {100, 60}, {.colorScheme = scheme}, bundle);
}

/// Stores the size that a geometry reader was proposed.
View readerInto(Size& seen) {
  return GeometryReader([&seen](const GeometryProxy& proxy) -> View {
    seen = proxy.size;
    return Color::black;
  });
}

TEST(ViewArchiver, GeometryFollowsFromPaddingsAndFrames) {
  Size seen;
  const View reader = readerInto(seen);
  const std::pair<View, Size> kCases[] = {
      {reader, {100, 60}},
      {reader.padding(10), {80, 40}},
      {reader.padding(-19), {138, 98}},
      {reader.padding(Edge::horizontal, 6).padding(Edge::top, 5), {88, 55}},
      {reader.padding(40), {20, 0}},
      {reader.frame({.height = 30}), {100, 30}},
      {reader.frame({.maxWidth = 70, .maxHeight = infinity}), {70, 60}},
      {reader.background(Color::white).ignoresSafeArea(), {100, 60}},
      {reader.containerBackground(ContainerBackgroundPlacement::widget, Color::white), {100, 60}},
      {reader.widgetURL(URL::fromString("quiloapp://streak")), {100, 60}},
  };
  for (const auto& [view, expected] : kCases) {
    seen = {};
    archived(view);
    EXPECT_EQ(seen, expected);
  }
}

TEST(ViewArchiverDeathTest, GeometryThatDependsOnTextStopsWithItsName) {
  Size seen;
  const View reader = readerInto(seen);
  EXPECT_DEATH(archived(VStack(reader)), "GeometryReader");
  EXPECT_DEATH(archived(ZStack(Text("a"), reader)), "GeometryReader");
  EXPECT_DEATH(archived(Text("a").background(reader)), "GeometryReader");
  EXPECT_DEATH(archived(reader.aspectRatio({}, ContentMode::fit)), "GeometryReader");
}

/// Shows the scheme in which its body ran.
struct SchemeView {
  Environment<& EnvironmentValues::colorScheme> _colorScheme = {};
  View body() const {
    const bool dark = _colorScheme.wrappedValue() == ColorScheme::dark;
    return Text::verbatim(dark ? "dark" : "light");
  }
};

TEST(ViewArchiver, BodiesRunInTheirEnvironment) {
  const View view = SchemeView();
  EXPECT_EQ(std::get<ArchivedText>(archived(view).element).text, "light");
  EXPECT_EQ(std::get<ArchivedText>(archived(view, ColorScheme::dark).element).text, "dark");
  // Outside of a body the scheme is the default.
  EXPECT_EQ(currentEnvironment().colorScheme, ColorScheme::light);
}

TEST(ViewArchiver, SemanticColoursAndAlignmentAreResolved) {
  const View view = VStack(Text("a").foregroundColor(Color::secondary), Text("b"))
                        .multilineTextAlignment(TextAlignment::center);
  const ArchivedView dark = archived(view, ColorScheme::dark);
  const auto text = [&](std::size_t child) {
    return std::get<ArchivedText>(dark.children.at(child).element);
  };
  EXPECT_EQ(text(0).color, (Color{235 / 255.0, 235 / 255.0, 245 / 255.0, 0.6}));
  EXPECT_EQ(text(1).color, Color::white);
  EXPECT_EQ(text(1).alignment, TextAlignment::center);
}

TEST(Stacks, TakeOptionalAndListedChildren) {
  const std::vector<int> numbers = {1, 2, 3};
  const ArchivedView stack = archived(HStack({.spacing = 6},
                                             Text("a"),
                                             std::optional<View>(),
                                             std::optional<View>(Text("b")),
                                             ForEach(numbers, std::identity(), [](int number) {
                                               return Text(LocalizedStringKey("%lld", {number}));
                                             })));
  ASSERT_EQ(stack.children.size(), 5u);
  EXPECT_EQ(std::get<ArchivedText>(stack.children[4].element).text, "3");
  EXPECT_EQ(std::get<StackLayout>(stack.element),
            (StackLayout{.axis = Axis::horizontal, .spacing = 6}));
}

TEST(ForEach, ReportsElementsWithTheSameId) {
  const std::pair<int, const char*> rows[] = {{1, "a"}, {2, "b"}, {1, "c"}};
  const auto label = [](const auto& row) { return Text::verbatim(row.second); };
  const auto complaints = [&](const auto& id) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(ForEach(rows, id, label).size(), 3u);
    return ::testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ(complaints(&std::pair<int, const char*>::second), "");
  EXPECT_EQ(complaints(&std::pair<int, const char*>::first),
            "ForEach: element 2 has the id of an earlier one.\n");
}

}  // namespace
}  // namespace platform
