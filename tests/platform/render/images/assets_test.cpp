#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "platform/render/images/picture_store.h"
#include "platform/render/images/pixel_file.h"
#include "tests/platform/render/output/test_bundle.h"

namespace platform {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::uint32_t kRed = 0xFF'FF'00'00;
constexpr std::uint32_t kGreen = 0xFF'00'FF'00;
constexpr std::uint32_t kBlue = 0xFF'00'00'FF;

std::vector<std::uint32_t> pixels(const Picture& picture) {
  const auto all = picture.allPixels();
  return {all.begin(), all.end()};
}

class AssetsTest : public ::testing::Test {
 protected:
  PictureStore store() { return {bundle_.assets(), kSVGModule}; }

  /// A fresh store's picture; null if it is missing or could not be read.
  std::shared_ptr<const Picture> load(std::string_view name,
                                      ColorScheme scheme = ColorScheme::light,
                                      double scale = 3) {
    PictureStore pictures = store();
    const auto found = pictures.picture(name, scheme, scale);
    EXPECT_TRUE(found) << found.error();
    return found.value_or(nullptr);
  }
  std::string errorOf(std::string_view name) {
    PictureStore pictures = store();
    const auto found = pictures.picture(name, ColorScheme::light, 3);
    return found ? "no error" : found.error();
  }

  TestBundle bundle_;
};

constexpr const char* kTwoSchemes = R"(
  {"idiom": "universal", "filename": "day@2x.png", "scale": "2x"},
  {"idiom": "universal", "filename": "day@3x.png", "scale": "3x"},
  {"idiom": "universal", "scale": "1x"},
  {"idiom": "ipad", "filename": "pad.png", "scale": "3x"},
  {"idiom": "universal", "filename": "tinted.png", "scale": "3x",
   "appearances": [{"appearance": "luminosity", "value": "tinted"}]},
  {"idiom": "universal", "filename": "rtl.png", "scale": "3x",
   "language-direction": "right-to-left"},
  {"idiom": "universal", "filename": "night.png", "scale": "2x",
   "appearances": [{"appearance": "luminosity", "value": "dark"}]})";

TEST_F(AssetsTest, PicksTheSchemesFileNearestInScale) {
  const std::string other = solidPNG(60, 60, kBlue);
  bundle_.writeImageSet("sky",
                        kTwoSchemes,
                        {{"day@2x.png", solidPNG(20, 10, kRed)},
                         {"day@3x.png", solidPNG(30, 15, kRed)},
                         {"night.png", solidPNG(20, 10, kGreen)},
                         {"pad.png", other},
                         {"tinted.png", other},
                         {"rtl.png", other}});
  struct Case {
    ColorScheme scheme;
    double scale;
    int width;
    std::uint32_t pixel;
  };
  const Case cases[] = {
      {ColorScheme::light, 1, 20, kRed},
      {ColorScheme::light, 2, 20, kRed},
      {ColorScheme::light, 2.5, 30, kRed},
      {ColorScheme::light, 3, 30, kRed},
      {ColorScheme::light, 4, 30, kRed},
      {ColorScheme::dark, 3, 20, kGreen},
  };
  for (const Case& row : cases) {
    const auto picture = load("sky", row.scheme, row.scale);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width, row.width) << row.scale;
    EXPECT_EQ(pixels(*picture).front(), row.pixel) << row.scale;
    EXPECT_EQ(picture->naturalSize, (Size{10, 5})) << row.scale;
  }
}

TEST_F(AssetsTest, FindsSetsInGroupsAndNamespaces) {
  bundle_.writeImageSet(
      "faces/deep/well", R"({"filename": "w.png"})", {{"w.png", solidPNG(1, 1, kRed)}});
  bundle_.writeImageSet(
      "icons/well", R"({"filename": "w.png"})", {{"w.png", solidPNG(1, 1, kGreen)}});
  bundle_.write("Assets.xcassets/icons/Contents.json",
                R"({"properties": {"provides-namespace": true}})");
  EXPECT_EQ(pixels(*load("well")).front(), kRed);
  EXPECT_EQ(pixels(*load("icons/well")).front(), kGreen);
  for (const char* name : {"faces/deep/well", "../Assets.xcassets/icons/well", "", "..", "deep"}) {
    EXPECT_EQ(load(name), nullptr) << name;
  }
}

TEST_F(AssetsTest, MissingPicturesAreListedOnce) {
  bundle_.writeImageSet("empty", R"({"idiom": "universal", "scale": "3x"})", {});
  PictureStore pictures = store();
  EXPECT_EQ(pictures.naturalSize("nowhere"), std::nullopt);
  EXPECT_EQ(pictures.picture("nowhere", ColorScheme::dark, 3).value(), nullptr);
  EXPECT_EQ(pictures.picture("empty", ColorScheme::light, 3).value(), nullptr);
  EXPECT_THAT(pictures.missing(), ::testing::ElementsAre("empty", "nowhere"));
}

TEST_F(AssetsTest, ErrorsNameTheFileAtFault) {
  struct Case {
    std::string_view name;
    std::string images;
    std::map<std::string, std::string> files;
    std::string_view error;
  };
  const std::string png = solidPNG(4, 4, kRed);
  const Case cases[] = {
      {"noJSON", "nonsense", {}, "Contents.json: "},
      {"noObject", "1", {}, "Contents.json: an element of \"images\" is not an object"},
      {"outside", R"({"filename": "../a.png"})", {}, "\"../a.png\" is not a file of the image set"},
      {"jpeg", R"({"filename": "a.jpg"})", {}, "\"a.jpg\" is neither PNG nor SVG"},
      {"scale", R"({"filename": "a.png", "scale": "9x"})", {}, "scale other than"},
      {"noFile", R"({"filename": "a.png"})", {}, "a.png: No such file"},
      {"noPNG", R"({"filename": "a.png"})", {{"a.png", "text"}}, "a.png: not a PNG"},
      {"cut", R"({"filename": "a.png"})", {{"a.png", png.substr(0, 60)}}, "a.png: not a PNG"},
      {"noSVG", R"({"filename": "a.svg"})", {{"a.svg", "<svg"}}, "a.svg: not an SVG"},
      {"template",
       R"({"filename": "a.png"}], "properties": {"template-rendering-intent": "template"}, "x": [)",
       {{"a.png", png}},
       "template images are not supported"},
  };
  for (const Case& row : cases) {
    bundle_.writeImageSet("x", row.images, row.files);
    EXPECT_THAT(errorOf("x"), HasSubstr(row.error)) << row.name;
    EXPECT_THAT(errorOf("x"), StartsWith(bundle_.folder().string())) << row.name;
  }
}

class DrawingTest : public AssetsTest {
 protected:
  /// The file of pre-rendered pixels of the drawing "sun".
  fs::path preRendered(int scale) {
    return pixelFileFor(bundle_.assets() / "sun.imageset" / "sun.svg", scale);
  }
};

TEST_F(DrawingTest, PreRenderedPixelsAreThoseThatWouldBeDrawn) {
  bundle_.writeDrawing("sun", sampleSVG(20, 12));
  const auto drawn = load("sun");
  preRenderPixels(bundle_);
  ASSERT_TRUE(fs::exists(preRendered(2)) && fs::exists(preRendered(3)));
  const auto mapped = load("sun");
  EXPECT_EQ(mapped->width, 60);
  EXPECT_EQ(mapped->naturalSize, (Size{20, 12}));
  EXPECT_EQ(pixels(*mapped), pixels(*drawn));
  EXPECT_TRUE(mapped->opaque && drawn->opaque);
  // With pre-rendered pixels, the library that draws is not needed.
  PictureStore noModule(bundle_.assets(), "/nonexistent.so");
  for (const auto& [scale, width] :
       {std::pair(1.0, 40), {2.0, 40}, {2.5, 60}, {3.0, 60}, {4.0, 60}}) {
    const auto picture = noModule.picture("sun", ColorScheme::light, scale);
    ASSERT_TRUE(picture) << picture.error();
    EXPECT_EQ((*picture)->width, width) << scale;
  }
}

// The app team may replace a drawing in the built bundle: the old drawing must not be shown.
TEST_F(DrawingTest, PixelsOfAReplacedDrawingAreNotUsed) {
  bundle_.writeDrawing("sun", sampleSVG(20, 12));
  preRenderPixels(bundle_);
  bundle_.writeDrawing("sun", sampleSVG(12, 20));
  EXPECT_EQ(load("sun")->naturalSize, (Size{12, 20}));
  bundle_.writeImageSet(
      "sun", R"({"filename": "sun.png", "scale": "3x"})", {{"sun.png", solidPNG(9, 9, kBlue)}});
  EXPECT_EQ(load("sun")->naturalSize, (Size{3, 3}));
}

TEST_F(DrawingTest, DamagedPixelsAreAnErrorThatNamesThem) {
  bundle_.writeDrawing("sun", sampleSVG(20, 12));
  preRenderPixels(bundle_);
  std::ifstream in(preRendered(3), std::ios::binary);
  const std::string good{std::istreambuf_iterator<char>(in), {}};
  const auto withByte = [&](std::size_t at, char byte) {
    std::string bytes = good;
    bytes[at] = byte;
    return bytes;
  };
  const std::pair<std::string, std::string> cases[] = {
      {"", "cut short"},
      {good.substr(0, 20), "cut short"},
      {good.substr(0, good.size() - 1), "cut short or too long"},
      {good + "x", "cut short or too long"},
      {withByte(0, 'x'), "not a file of pre-rendered pixels"},
      {withByte(4, 9), "another version"},
      {withByte(11, '\x7F'), "damaged header"},
      {withByte(16, 0), "damaged header"},
      {withByte(39, '\x7F'), "damaged header"},
  };
  for (const auto& [bytes, error] : cases) {
    std::ofstream(preRendered(3), std::ios::binary | std::ios::trunc) << bytes;
    EXPECT_THAT(errorOf("sun"), StartsWith(preRendered(3).string())) << error;
    EXPECT_THAT(errorOf("sun"), HasSubstr(error));
  }
}

TEST_F(DrawingTest, ToolRemovesFilesWithoutASource) {
  bundle_.writeDrawing("sun", sampleSVG(4, 4));
  bundle_.writeDrawing("old", sampleSVG(4, 4));
  const fs::path source = bundle_.folder() / "Source.xcassets";
  const fs::path built = bundle_.folder() / "Built.xcassets";
  fs::rename(bundle_.assets(), source);
  const std::string command =
      GLANCERY_BUILD "/glancery_pixels " + source.string() + " " + built.string();
  ASSERT_EQ(std::system(command.c_str()), 0);
  fs::remove_all(source / "old.imageset");
  fs::remove(source / "sun.imageset" / "sun.svg");
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_FALSE(fs::exists(built / "old.imageset"));
  EXPECT_FALSE(fs::exists(built / "sun.imageset" / "sun@3x.pixels"));
  EXPECT_TRUE(fs::exists(built / "sun.imageset" / "Contents.json"));
}

TEST_F(DrawingTest, WithoutTheDrawingLibraryTheErrorSaysWhatIsMissing) {
  bundle_.writeDrawing("sun", sampleSVG(4, 4));
  PictureStore noModule(bundle_.assets(), "/nonexistent.so");
  const auto picture = noModule.picture("sun", ColorScheme::light, 3);
  ASSERT_FALSE(picture);
  EXPECT_THAT(picture.error(), HasSubstr("sun.svg: can't load /nonexistent.so"));
}

TEST_F(AssetsTest, StretchingKeepsEdgesAndOpacity) {
  bundle_.writeImageSet(
      "red", R"({"filename": "a.png", "scale": "3x"})", {{"a.png", solidPNG(30, 30, kRed)}});
  PictureStore pictures = store();
  for (const int side : {7, 28, 30, 61}) {
    const auto picture = pictures.stretched("red", ColorScheme::light, 3, side, side);
    ASSERT_TRUE(picture);
    EXPECT_TRUE((*picture)->opaque) << side;
    EXPECT_THAT(pixels(**picture), ::testing::Each(kRed)) << side;
    EXPECT_EQ(pictures.stretched("red", ColorScheme::light, 3, side, side).value(), *picture);
  }
}

}  // namespace
}  // namespace platform
