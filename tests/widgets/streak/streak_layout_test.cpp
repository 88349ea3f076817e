#include <gtest/gtest.h>

#include "tests/widgets/streak/streak_shown.h"

namespace glancery {
namespace {

using namespace platform;
using namespace world;

// A picture that fills, pulled out beyond the widget by negative padding on systems with content
// margins, and a row in the middle. The row must stand in the same place with and without margins.

StreakEntry entryWith(const std::string& picture) {
  return {.displayStreakCount = 12,
          .backgroundImageName = picture,
          .timeBasedMessageKey = "Keep it going",
          .showTimeBasedText = true,
          .flameImageName = "flame"};
}

struct StreakCase {
  double size;
  std::string withMargins;
  std::string withoutMargins;
  friend void PrintTo(const StreakCase& row, std::ostream* out) { *out << row.size; }
};

// By hand: the row is 43.2 high, 3 points below the middle; a message of one line makes it 151.24
// wide, one of two lines 112.12. The message breaks where less than its 85.24 points are left after
// the flame (18), the count (36) and the gaps (12): 6 points more with the margins pulled out.
const StreakCase kCases[] = {
    {141,
     "Image \"square\" -3,-3 147x147\n"
     "Image \"flame\" 14.44,58.5 18x30\n"
     "Text \"12\" 38.44,51.9 36x43.2\n"
     "Text \"Keep it\" \"going\" 80.44,54.7 46.12x33.6\n",
     "Image \"square\" 0,0 141x141\n"
     "Image \"flame\" 14.44,58.5 18x30\n"
     "Text \"12\" 38.44,51.9 36x43.2\n"
     "Text \"Keep it\" \"going\" 80.44,54.7 46.12x33.6\n"},
    {148,
     "Image \"square\" -3,-3 154x154\n"
     "Image \"flame\" -1.62,62 18x30\n"
     "Text \"12\" 22.38,55.4 36x43.2\n"
     "Text \"Keep it going\" 64.38,66.6 85.24x16.8\n",
     "Image \"square\" 0,0 148x148\n"
     "Image \"flame\" 17.94,62 18x30\n"
     "Text \"12\" 41.94,55.4 36x43.2\n"
     "Text \"Keep it\" \"going\" 83.94,58.2 46.12x33.6\n"},
    {155,
     "Image \"square\" -3,-3 161x161\n"
     "Image \"flame\" 1.88,65.5 18x30\n"
     "Text \"12\" 25.88,58.9 36x43.2\n"
     "Text \"Keep it going\" 67.88,70.1 85.24x16.8\n",
     "Image \"square\" 0,0 155x155\n"
     "Image \"flame\" 1.88,65.5 18x30\n"
     "Text \"12\" 25.88,58.9 36x43.2\n"
     "Text \"Keep it going\" 67.88,70.1 85.24x16.8\n"},
    {158,
     "Image \"square\" -3,-3 164x164\n"
     "Image \"flame\" 3.38,67 18x30\n"
     "Text \"12\" 27.38,60.4 36x43.2\n"
     "Text \"Keep it going\" 69.38,71.6 85.24x16.8\n",
     "Image \"square\" 0,0 158x158\n"
     "Image \"flame\" 3.38,67 18x30\n"
     "Text \"12\" 27.38,60.4 36x43.2\n"
     "Text \"Keep it going\" 69.38,71.6 85.24x16.8\n"},
    {170,
     "Image \"square\" -3,-3 176x176\n"
     "Image \"flame\" 9.38,73 18x30\n"
     "Text \"12\" 33.38,66.4 36x43.2\n"
     "Text \"Keep it going\" 75.38,77.6 85.24x16.8\n",
     "Image \"square\" 0,0 170x170\n"
     "Image \"flame\" 9.38,73 18x30\n"
     "Text \"12\" 33.38,66.4 36x43.2\n"
     "Text \"Keep it going\" 75.38,77.6 85.24x16.8\n"},
};

class StreakLayout : public ::testing::TestWithParam<StreakCase> {};

TEST_P(StreakLayout, PullsOutThePictureAndNotTheRow) {
  const auto& [size, withMargins, withoutMargins] = GetParam();
  const Size widget{size, size};
  const StreakEntry shown = entryWith("square");
  EXPECT_EQ(displayListText(laidOut({shown, true}, widget, kMargins)), withMargins);
  EXPECT_EQ(displayListText(laidOut({shown, false}, widget)), withoutMargins);
}

INSTANTIATE_TEST_SUITE_P(Sizes, StreakLayout, ::testing::ValuesIn(kCases), [](const auto& row) {
  return std::to_string(static_cast<int>(row.param.size));
});

// A picture of another shape overflows, and the row gets the picture's width to spread in: the
// message of the 141 point widget stays on one line, still in the middle.
TEST(StreakLayoutShape, WidePictureWidensTheRowsRoom) {
  EXPECT_EQ(displayListText(laidOut({entryWith("wide"), true}, {141, 141}, kMargins)),
            "Image \"wide\" -223.5,-3 588x147\n"
            "Image \"flame\" -5.12,58.5 18x30\n"
            "Text \"12\" 18.88,51.9 36x43.2\n"
            "Text \"Keep it going\" 60.88,63.1 85.24x16.8\n");
}

}  // namespace
}  // namespace glancery
