#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "platform/render/images/picture.h"
#include "platform/render/output/render_module.h"
#include "platform/render/svg/svg_drawing.h"
#include "tests/platform/render/output/test_bundle.h"

namespace platform {
namespace {

using ::testing::HasSubstr;

const std::string kLibrary = GLANCERY_BUILD "/libglancery_render.so";

/// A picture, a fill and two texts, one with characters that XML has to escape.
DisplayList sampleList() {
  return {.size = {100, 60},
          .items = {{.content = ImageItem{"sky"}, .frame = {0, 0, 100, 60}},
                    {.content = ImageItem{"sky"}, .frame = {10, 10, 30, 20}},
                    {.content = ImageItem{"sky"}, .frame = {50, 10, 30, 20}},
                    {.content = FillItem{{0, 0.5, 0, 0.5}}, .frame = {5, 40, 90, 4}},
                    {.content = TextItem{{.text = "A<\"&\u0001 17",
                                          .font = Font::system(20, Weight::bold),
                                          .color = Color::white},
                                         {}},
                     .frame = {10, 12, 90, 25}}}};
}

class RendererTest : public ::testing::Test {
 protected:
  RendererTest() { bundle_.writeDrawing("sky", sampleSVG(100, 60)); }

  std::unique_ptr<Renderer> load() {
    auto loaded = loadRenderer(bundle_.folder(), kSystemFonts, kLibrary);
    EXPECT_TRUE(loaded) << loaded.error();
    return loaded ? std::move(*loaded) : nullptr;
  }

  TestBundle bundle_;
};

TEST_F(RendererTest, PNGHoldsTheRasterizedPixels) {
  const auto renderer = load();
  for (const double radius : {0.0, 22.0}) {
    const PictureOptions options{.scale = 2, .cornerRadius = radius};
    const auto bitmap = renderer->rasterize(sampleList(), options);
    ASSERT_TRUE(bitmap) << bitmap.error();
    const auto picture = readPNG(renderer->png(sampleList(), options).value(), 2);
    ASSERT_TRUE(picture) << picture.error();
    ASSERT_EQ(picture->width, bitmap->width);
    EXPECT_TRUE(std::ranges::equal(picture->allPixels(), bitmap->pixels));
    EXPECT_EQ(picture->opaque, radius == 0);
  }
}

TEST_F(RendererTest, SVGShowsWhatTheBitmapShows) {
  const auto renderer = load();
  const PictureOptions options{.scale = 3, .cornerRadius = 16};
  const auto svg = renderer->svg(sampleList(), options);
  ASSERT_TRUE(svg) << svg.error();
  EXPECT_THAT(*svg, HasSubstr("aria-label=\"A&lt;&quot;&amp;  17\""));
  const auto drawn = drawSVG(*svg, 3);
  ASSERT_TRUE(drawn) << drawn.error();
  const Bitmap bitmap = renderer->rasterize(sampleList(), options).value();
  ASSERT_EQ(drawn->width, bitmap.width);
  ASSERT_EQ(drawn->height, bitmap.height);
  double difference = 0;
  for (std::size_t i = 0; i < bitmap.pixels.size(); ++i) {
    for (const int shift : {0, 8, 16, 24}) {
      const auto own = static_cast<int>(bitmap.pixels[i] >> shift & 0xFF);
      difference += std::abs(own - static_cast<int>(drawn->pixels[i] >> shift & 0xFF));
    }
  }
  // Only the edges of glyphs and corners may differ, by how each rasterizer covers them.
  EXPECT_LT(difference / (4.0 * bitmap.width * bitmap.height), 0.5);
  // The picture that is shown twice in the same size is embedded once.
  std::size_t images = 0;
  for (auto at = svg->find("<image"); at != std::string::npos; at = svg->find("<image", at + 1)) {
    ++images;
  }
  EXPECT_EQ(images, 2U);
  EXPECT_EQ(renderer->svg(sampleList(), {.scale = 9}).error(),
            renderer->png(sampleList(), {.scale = 9}).error());
}

TEST_F(RendererTest, DarkSchemeDrawsDarkPictures) {
  bundle_.writeImageSet(
      "day",
      R"({"filename": "light.png"}, {"filename": "dark.png",
      "appearances": [{"appearance": "luminosity", "value": "dark"}]})",
      {{"light.png", solidPNG(8, 8, 0xFF'FF'FF'FF)}, {"dark.png", solidPNG(8, 8, 0xFF'00'00'00)}});
  const auto renderer = load();
  const DisplayList list{.size = {8, 8},
                         .items = {{.content = ImageItem{"day"}, .frame = {0, 0, 8, 8}}}};
  // Twice: the other scheme's picture must not come from the cache.
  for (int round = 0; round < 2; ++round) {
    const auto light = renderer->rasterize(list, {.scheme = ColorScheme::light}).value();
    const auto dark = renderer->rasterize(list, {.scheme = ColorScheme::dark}).value();
    EXPECT_EQ(light.pixels.front(), 0xFF'FF'FF'FF);
    EXPECT_EQ(dark.pixels.front(), 0xFF'00'00'00);
  }
}

ArchivedView stacked(std::vector<ArchivedView> views) {
  return {.element = StackLayout{.spacing = 4}, .children = std::move(views)};
}

// Texts are drawn as they were measured: the list has the lines, and their frame contains the ink.
TEST_F(RendererTest, LaysOutWithItsOwnTypefacesAndPictures) {
  const auto renderer = load();
  const ArchivedView view =
      stacked({{.element = ArchivedImage{.name = "sky"}},
               {.element = ArchivedText{.text = "Hoy puedo respirar despacio",
                                        .font = Font::custom("Sentient Variable", 16)}}});
  const DisplayList list = renderer->layOut(view, {120, 160}, {}, LayoutDirection::leftToRight);
  ASSERT_EQ(list.items.size(), 2U);
  EXPECT_EQ(list.items[0].frame.size(), (Size{100, 60}));
  const auto& text = std::get<TextItem>(list.items[1].content);
  EXPECT_THAT(text.lines, ::testing::ElementsAre("Hoy puedo", "respirar", "despacio"));

  const DisplayList alone{.size = list.size, .items = {list.items[1]}};
  const Bitmap bitmap = renderer->rasterize(alone, {.scale = 2}).value();
  const Rect frame = list.items[1].frame;
  int ink = 0;
  for (int y = 0; y < bitmap.height; ++y) {
    for (int x = 0; x < bitmap.width; ++x) {
      if (bitmap.pixels[y * bitmap.width + x] >> 24 > 127) {
        ++ink;
        ASSERT_GE(x, 2 * frame.x - 2);
        ASSERT_LE(x, 2 * (frame.x + frame.width) + 2);
        ASSERT_GE(y, 2 * frame.y);
        ASSERT_LE(y, 2 * (frame.y + frame.height));
      }
    }
  }
  EXPECT_GT(ink, 500);
}

// The layout can't fail: a picture that it could not measure must stay in the list.
TEST_F(RendererTest, UnreadablePictureFailsAfterTheLayoutToo) {
  bundle_.writeImageSet("broken", R"({"filename": "a.png"})", {{"a.png", "text"}});
  const auto renderer = load();
  const DisplayList list = renderer->layOut(stacked({{.element = ArchivedImage{.name = "broken"}}}),
                                            {50, 50},
                                            {},
                                            LayoutDirection::leftToRight);
  const auto drawn = renderer->rasterize(list, {});
  ASSERT_FALSE(drawn);
  EXPECT_THAT(drawn.error(), HasSubstr("a.png: not a PNG"));
  EXPECT_FALSE(renderer->svg(list, {}));
}

TEST_F(RendererTest, RefusesToStretchAPictureWithoutBounds) {
  const auto renderer = load();
  const DisplayList list{.size = {9, 9},
                         .items = {{.content = ImageItem{"sky"}, .frame = {0, 0, 9000, 9}}}};
  const std::string_view error = "\"sky\" would be stretched beyond 8192 pixels a side";
  EXPECT_THAT(renderer->png(list, {}).error(), HasSubstr(error));
  EXPECT_THAT(renderer->svg(list, {}).error(), HasSubstr(error));
}

// All renderers share the faces of a typeface's file.
TEST_F(RendererTest, SeveralServeSeveralThreads) {
  const auto drawAll = [](Renderer& renderer) {
    std::vector<std::string> pictures;
    for (int number = 0; number < 60; ++number) {
      const ArchivedText text{.text = "Línea " + std::to_string(number),
                              .font = Font::custom("Sentient Variable", 12 + number % 9)};
      const DisplayList list =
          renderer.layOut({.element = text}, {90, 90}, {}, LayoutDirection::leftToRight);
      pictures.push_back(renderer.png(list, {}).value());
    }
    return pictures;
  };
  std::vector<std::unique_ptr<Renderer>> renderers;
  std::vector<std::vector<std::string>> drawn(4);
  std::vector<std::thread> threads;
  for (auto& pictures : drawn) {
    renderers.push_back(load());
    threads.emplace_back([&, &renderer = *renderers.back()] { pictures = drawAll(renderer); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_THAT(drawn, ::testing::Each(drawAll(*load())));
}

// 101 pixels at 2x and 151 at 3x differ in points. Which of them is measured must not depend on
// what was drawn before.
TEST_F(RendererTest, LayoutDoesNotDependOnEarlierDrawing) {
  bundle_.writeImageSet(
      "odd",
      R"({"filename": "a.png", "scale": "2x"}, {"filename": "b.png", "scale": "3x"})",
      {{"a.png", solidPNG(101, 101, 0xFF'00'00'00)}, {"b.png", solidPNG(151, 151, 0xFF'00'00'00)}});
  const auto renderer = load();
  const auto layOut = [&] {
    return renderer->layOut(
        {.element = ArchivedImage{.name = "odd"}}, {90, 90}, {}, LayoutDirection::leftToRight);
  };
  const DisplayList first = layOut();
  for (const double scale : {2.0, 3.0}) {
    EXPECT_TRUE(renderer->png(first, {.scale = scale}));
    EXPECT_EQ(layOut(), first) << scale;
  }
}

TEST_F(RendererTest, OpeningFailsWithTheFileAtFault) {
  struct Case {
    std::filesystem::path bundle;
    std::filesystem::path fonts;
    std::filesystem::path library;
    std::string_view error;
  };
  const Case cases[] = {
      {"/nonexistent", kSystemFonts, kLibrary, "/nonexistent/Info.plist: No such file"},
      {bundle_.folder(), "/nonexistent", kLibrary, "/nonexistent: no typeface"},
      {bundle_.folder(), kSystemFonts, "/nonexistent.so", "can't load /nonexistent.so"},
      {bundle_.folder(), kSystemFonts, kSVGModule, "glanceryOpenRenderer"},
  };
  for (const Case& row : cases) {
    const auto loaded = loadRenderer(row.bundle, row.fonts, row.library);
    ASSERT_FALSE(loaded);
    EXPECT_THAT(loaded.error(), HasSubstr(row.error));
  }
}

}  // namespace
}  // namespace platform
