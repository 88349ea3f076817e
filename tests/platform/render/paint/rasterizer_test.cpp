#include "platform/render/paint/rasterizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/platform/render/output/test_bundle.h"

namespace platform {
namespace {

constexpr std::uint32_t kRed = 0xFF'FF'00'00;
constexpr Color kGreenColor{0, 1, 0, 1};

DisplayItem image(std::string name, Rect frame) {
  return {.content = ImageItem{std::move(name)}, .frame = frame};
}
DisplayItem fill(Color color, Rect frame) {
  return {.content = FillItem{color}, .frame = frame};
}
DisplayItem text(ArchivedText content, Rect frame) {
  return {.content = TextItem{std::move(content), {}}, .frame = frame};
}

class RasterizerTest : public ::testing::Test {
 protected:
  Bitmap paint(const DisplayList& list, const PictureOptions& options = {}) {
    Bitmap bitmap;
    const auto painted = rasterizer_.paint(list, options, bitmap);
    EXPECT_TRUE(painted) << painted.error();
    return bitmap;
  }
  std::string errorOf(const DisplayList& list, const PictureOptions& options = {}) {
    Bitmap bitmap;
    const auto painted = rasterizer_.paint(list, options, bitmap);
    return painted ? "no error" : painted.error();
  }
  static std::uint32_t at(const Bitmap& bitmap, int x, int y) {
    return bitmap.pixels.at(static_cast<std::size_t>(y) * bitmap.width + x);
  }

  TestBundle bundle_;
  std::unique_ptr<Typefaces> typefaces_ = bundle_.typefaces();
  TextBreaker texts_{*typefaces_};
  PictureStore pictures_{bundle_.assets(), kSVGModule};
  Rasterizer rasterizer_{texts_, pictures_};
};

TEST(PixelGrid, EdgesSnapSeparatelySoThatNeighboursTouch) {
  struct Case {
    Rect frame;
    double scale;
    PixelRect pixels;
  };
  const Case cases[] = {
      {{1, 2, 3, 4}, 3, {3, 6, 9, 12}},
      {{0.1, 0.2, 1, 1}, 3, {0, 1, 3, 3}},
      {{10.4, 0, 10.4, 1}, 1, {10, 0, 11, 1}},
      {{-0.4, -3, 1, 1}, 3, {-1, -9, 3, 3}},
      {{1e9, -1e9, 1, 1}, 3, {32000, -32000, 0, 0}},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(snapped(row.frame, row.scale), row.pixels) << row.frame.x;
  }
  for (double x = 0; x < 2; x += 0.037) {
    const PixelRect left = snapped({x, 0, 5.43, 1}, 3);
    EXPECT_EQ(left.x + left.width, snapped({x + 5.43, 0, 1, 1}, 3).x) << x;
  }
}

TEST_F(RasterizerTest, SizeIsWholePixels) {
  struct Case {
    Size size;
    double scale;
    int width;
    int height;
  };
  const Case cases[] = {
      {{158, 158}, 3, 474, 474},
      {{305.5, 141}, 3, 917, 423},
      {{33 + 1.0 / 3, 10}, 3, 100, 30},
      {{0.1, 0.1}, 1, 1, 1},
  };
  for (const Case& row : cases) {
    const Bitmap bitmap = paint({.size = row.size}, {.scale = row.scale});
    EXPECT_EQ(bitmap.width, row.width);
    EXPECT_EQ(bitmap.height, row.height);
    EXPECT_THAT(bitmap.pixels, ::testing::Each(0U));
  }
}

TEST_F(RasterizerTest, RefusesInvalidSizesAndOptions) {
  struct Case {
    Size size;
    PictureOptions options;
    std::string_view error;
  };
  const Case cases[] = {
      {{0, 10}, {}, "a picture can't be 0 by 10 points"},
      {{10, -1}, {}, "10 by -1"},
      {{std::nan(""), 10}, {}, "nan by 10"},
      {{infinity, 10}, {}, "inf by 10 points at 3"},
      {{1366, 10}, {}, "beyond 4096 pixels a side"},
      {{10, 10}, {.scale = 0.5}, "not 0.5"},
      {{10, 10}, {.scale = 5}, "1 to 4 pixels a point, not 5"},
      {{10, 10}, {.cornerRadius = -1}, "a corner radius can't be -1"},
  };
  for (const Case& row : cases) {
    EXPECT_THAT(errorOf({.size = row.size}, row.options), ::testing::HasSubstr(row.error));
  }
}

TEST_F(RasterizerTest, BackdropAtItsOwnSizeKeepsEveryPixel) {
  bundle_.writeDrawing("sky", sampleSVG(20, 20));
  const auto source = pictures_.picture("sky", ColorScheme::light, 3).value();
  ASSERT_EQ(source->width, 60);
  // Reaching beyond every edge by a point, as a backdrop under negative padding does.
  const Bitmap bitmap = paint({.size = {18, 18}, .items = {image("sky", {-1, -1, 20, 20})}});
  for (int y = 0; y < bitmap.height; ++y) {
    for (int x = 0; x < bitmap.width; ++x) {
      ASSERT_EQ(at(bitmap, x, y), source->pixels[(y + 3) * source->width + x + 3]) << x << ' ' << y;
    }
  }
}

TEST_F(RasterizerTest, TranslucentPicturesAreBlended) {
  bundle_.writeImageSet(
      "glass", R"({"filename": "a.png"})", {{"a.png", solidPNG(4, 4, 0x80'80'00'00)}});
  const Bitmap bitmap = paint(
      {.size = {4, 4}, .items = {fill(kGreenColor, {0, 0, 4, 4}), image("glass", {0, 0, 2, 2})}},
      {.scale = 1});
  EXPECT_EQ(at(bitmap, 3, 3), 0xFF'00'FF'00);
  EXPECT_EQ(at(bitmap, 1, 1), 0xFF'80'7F'00);
}

TEST_F(RasterizerTest, LaterItemsCoverEarlierOnesAndTheWidgetClips) {
  bundle_.writeImageSet("red", R"({"filename": "a.png"})", {{"a.png", solidPNG(2, 2, kRed)}});
  const Bitmap bitmap = paint({.size = {10, 10},
                               .items = {image("red", {-5, -5, 10, 10}),
                                         fill(kGreenColor, {2, 2, 30, 30}),
                                         image("red", {8, 8, 400, 400}),
                                         image("red", {50, 50, 4, 4}),
                                         fill(Color::black, {-9, 0, 9, 9})}},
                              {.scale = 1});
  EXPECT_EQ(at(bitmap, 0, 0), kRed);
  EXPECT_EQ(at(bitmap, 2, 2), 0xFF'00'FF'00);
  EXPECT_EQ(at(bitmap, 9, 9), kRed);
  EXPECT_EQ(at(bitmap, 9, 0), 0U);
}

TEST_F(RasterizerTest, UnreadablePicturesFailAndMissingOnesDoNot) {
  bundle_.writeImageSet("broken", R"({"filename": "a.png"})", {{"a.png", "text"}});
  EXPECT_EQ(errorOf({.size = {9, 9}, .items = {image("nowhere", {0, 0, 9, 9})}}), "no error");
  EXPECT_THAT(pictures_.missing(), ::testing::ElementsAre("nowhere"));
  for (const Rect frame : {Rect{0, 0, 9, 9}, Rect{0, 0, 0, 0}}) {
    EXPECT_THAT(errorOf({.size = {9, 9}, .items = {image("broken", frame)}}),
                ::testing::HasSubstr("a.png: not a PNG"));
  }
}

TEST_F(RasterizerTest, CornersAreTransparentSymmetricAndContinuous) {
  const DisplayList list{.size = {60, 40}, .items = {fill(Color::white, {0, 0, 60, 40})}};
  const Bitmap bitmap = paint(list, {.scale = 2, .cornerRadius = 12});
  const int right = bitmap.width - 1;
  const int bottom = bitmap.height - 1;
  EXPECT_EQ(at(bitmap, 0, 0), 0U);
  for (int y = 0; y <= bottom; ++y) {
    for (int x = 0; x <= right; ++x) {
      const std::uint32_t pixel = at(bitmap, x, y);
      ASSERT_EQ(pixel, at(bitmap, right - x, y));
      ASSERT_EQ(pixel, at(bitmap, x, bottom - y));
      // Premultiplied white: all channels alike.
      ASSERT_EQ(pixel, (pixel >> 24) * 0x01'01'01'01);
      // Going inward, coverage never falls.
      if (x > 0 && x <= right / 2) {
        ASSERT_GE(pixel >> 24, at(bitmap, x - 1, y) >> 24) << x << ' ' << y;
      }
    }
  }
  // Beyond the curve's reach nothing is clipped; at the arc's end the curve is still bending.
  EXPECT_EQ(at(bitmap, 0, 37), 0xFF'FF'FF'FF);
  EXPECT_LT(at(bitmap, 0, 24) >> 24, 255U);
  EXPECT_EQ(at(paint(list, {.scale = 2}), 0, 0), 0xFF'FF'FF'FF);
  // A radius beyond half the height is cut to it.
  EXPECT_EQ(at(paint(list, {.scale = 2, .cornerRadius = 500}), 60, 0), 0xFF'FF'FF'FF);
}

TEST_F(RasterizerTest, TextTakesItsColourOpacityAndPlace) {
  ArchivedText bars{.text = "HHHH", .font = Font::system(40, Weight::black), .color = {1, 0, 0, 1}};
  const Size size = texts_.breakLines(bars, {}).size;
  const Rect frame{5, 5, size.width, size.height};
  const DisplayList list{.size = {size.width + 10, size.height + 10}, .items = {text(bars, frame)}};
  const Bitmap full = paint(list);
  bars.color.opacity = 0.5;
  const Bitmap half = paint({.size = list.size, .items = {text(bars, frame)}});
  std::uint32_t strongest = 0;
  for (std::size_t i = 0; i < full.pixels.size(); ++i) {
    const std::uint32_t alpha = full.pixels[i] >> 24;
    strongest = std::max(strongest, alpha);
    ASSERT_EQ(full.pixels[i], alpha << 24 | alpha << 16) << "not pure red";
    ASSERT_NEAR(static_cast<double>(half.pixels[i] >> 24), alpha / 2.0, 2);
  }
  EXPECT_EQ(strongest, 255U);
  // A whole point further right and down, the very same pixels.
  const Bitmap moved =
      paint({.size = list.size,
             .items = {text({.text = bars.text, .font = bars.font, .color = {1, 0, 0, 1}},
                            {6, 7, size.width, size.height})}});
  for (int y = 6; y < full.height; ++y) {
    for (int x = 3; x < full.width; ++x) {
      ASSERT_EQ(at(moved, x, y), at(full, x - 3, y - 6));
    }
  }
}

// Boxes for characters without a glyph are not drawn as a mask, but at the same place.
TEST_F(RasterizerTest, CharactersWithoutGlyphShowABoxInTheirFrame) {
  const ArchivedText missing{.text = "\u4ECA", .font = Font::system(20)};
  const Size size = texts_.breakLines(missing, {}).size;
  const Bitmap bitmap =
      paint({.size = {60, 60}, .items = {text(missing, {20, 20, size.width, size.height})}});
  int inside = 0;
  for (int y = 0; y < bitmap.height; ++y) {
    for (int x = 0; x < bitmap.width; ++x) {
      const bool inFrame =
          x >= 58 && y >= 58 && x <= 62 + 3 * size.width && y <= 62 + 3 * size.height;
      if (inFrame) {
        inside += at(bitmap, x, y) != 0;
      } else {
        ASSERT_EQ(at(bitmap, x, y), 0U) << x << ' ' << y;
      }
    }
  }
  EXPECT_GT(inside, 20);
}

}  // namespace
}  // namespace platform
