#include <cairo/cairo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <string>

#include "platform/render/text/text_breaker.h"
#include "platform/render/text/text_mask.h"
#include "tests/platform/render/output/test_bundle.h"

namespace platform {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

constexpr double kUnit = 1.0 / 1024;
const std::string kSentence = "Hoy puedo respirar despacio y seguir adelante con calma.";

ProposedSize wide(double width) {
  return {.width = width, .height = {}};
}

std::string withoutSpaces(const std::vector<std::string>& lines) {
  std::string joined = std::accumulate(lines.begin(), lines.end(), std::string());
  std::erase(joined, ' ');
  return joined;
}

std::uint8_t coverageAt(const TextMask& mask, int x, int y) {
  const int column = x - mask.x;
  const int row = y - mask.y;
  const bool inside = column >= 0 && column < mask.width && row >= 0 && row < mask.height;
  return inside ? mask.pixels[static_cast<std::size_t>(row) * mask.stride + column] : 0;
}

/// The text as the drawing library draws it, row by row.
std::vector<std::uint8_t> libraryCoverage(const BrokenText& text,
                                          const TextPlacement& placement,
                                          int width,
                                          int height) {
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(width) * height);
  const Handle<cairo_surface_t> surface(
      cairo_image_surface_create_for_data(pixels.data(), CAIRO_FORMAT_A8, width, height, width),
      cairo_surface_destroy);
  const Handle<cairo_t> context(cairo_create(surface.get()), cairo_destroy);
  cairo_scale(context.get(), placement.scale, placement.scale);
  drawLines(context.get(), text, placement);
  cairo_surface_finish(surface.get());
  return pixels;
}

class TextTest : public ::testing::Test {
 protected:
  TextLines lines(const ArchivedText& text, ProposedSize proposal = {}) {
    return breaker_.breakLines(text, proposal);
  }
  double width(const ArchivedText& text) { return lines(text).size.width; }

  TestBundle bundle_;
  std::unique_ptr<Typefaces> typefaces_ = bundle_.typefaces();
  TextBreaker breaker_{*typefaces_};
};

struct Sample {
  std::string_view name;
  ArchivedText text;
  friend void PrintTo(const Sample& row, std::ostream* out) { *out << row.name; }
};

// Text of users and servers must not crash or hang, and must keep the rules below.
const Sample kSamples[] = {
    {"word", {.text = "Calma"}},
    {"sentence", {.text = kSentence}},
    {"trackedSerif",
     {.text = kSentence, .font = Font::custom("Sentient Variable", 24), .tracking = -0.48}},
    {"loose", {.text = kSentence, .font = Font::system(14, Weight::bold), .tracking = 3}},
    {"paragraphs", {.text = "uno\n\ndos y tres\n"}},
    {"spaces", {.text = "  a   b  "}},
    {"longWord", {.text = "anticonstitucionalmente"}},
    {"emoji", {.text = "hoy \U0001F60A\U0001F468\u200D\U0001F469\u200D\U0001F467\U0001F3FD bien"}},
    {"arabic", {.text = "\u0645\u0631\u062D\u0628\u0627 \u0628\u0643\u0645 hola"}},
    {"combining", {.text = "e\u0301\u0302\u0303\u0304 a\u0308 \u0301"}},
    {"japanese", {.text = "\u4ECA\u65E5\u306F\u3044\u3044\u5929\u6C17\u3067\u3059\u306D"}},
    {"controls", {.text = "a\u200B\u202Eb\u2028c\td\u0001"}},
    {"sizeless", {.text = kSentence, .font = Font::system(0)}},
    {"negative", {.text = kSentence, .font = Font::system(-17)}},
    {"huge", {.text = "a b", .font = Font::system(1e9), .tracking = -1e9}},
    {"tiny", {.text = kSentence, .font = Font::system(0.5)}},
};

class TextContract : public TextTest, public ::testing::WithParamInterface<Sample> {};

TEST_P(TextContract, HoldsAtEveryWidth) {
  const ArchivedText& text = GetParam().text;
  const TextLines whole = lines(text);
  std::size_t lastCount = std::numeric_limits<std::size_t>::max();
  for (double proposed = 0; proposed <= whole.size.width + 20; proposed += 7.3) {
    TextBreaker fresh(*typefaces_);
    const TextLines broken = fresh.breakLines(text, wide(proposed));
    SCOPED_TRACE(proposed);
    EXPECT_EQ(lines(text, wide(proposed)).lines, broken.lines) << "kept lines of another width";
    EXPECT_LE(broken.lines.size(), lastCount) << "a wider text has more lines";
    lastCount = broken.lines.size();
    if (proposed > 4 * text.font.size) {
      EXPECT_LE(broken.size.width, proposed + kUnit);
    }
    if (broken.size.width > proposed + kUnit) {
      continue;  // Not even one cluster fits a line.
    }
    // A rounding error of the layout must not move a break.
    const double returned = (broken.size.width + 16.7) - 16.7;
    TextBreaker fresher(*typefaces_);
    const TextLines again =
        fresher.breakLines(text, {.width = returned, .height = broken.size.height});
    EXPECT_EQ(again.lines, broken.lines);
    EXPECT_EQ(again.size, broken.size);
  }
  EXPECT_EQ(lastCount, whole.lines.size());
}

TEST_P(TextContract, DropsLinesToFitAndSaysSo) {
  const ArchivedText& text = GetParam().text;
  const TextLines all = lines(text, wide(60));
  const double lineHeight = all.size.height / static_cast<double>(all.lines.size());
  for (std::size_t kept = 1; kept < all.lines.size(); ++kept) {
    const double height = lineHeight * (static_cast<double>(kept) + 0.5);
    const TextLines some = lines(text, {.width = 60, .height = height});
    SCOPED_TRACE(kept);
    EXPECT_EQ(some.lines.size(), kept);
    EXPECT_LE(some.size.height, height);
    EXPECT_THAT(some.lines.back(), EndsWith("\u2026"));
    const std::string start = withoutSpaces(some.lines);
    EXPECT_THAT(withoutSpaces(all.lines), StartsWith(start.substr(0, start.size() - 3)));
    EXPECT_EQ(lines(text, {.width = some.size.width, .height = some.size.height}).lines,
              some.lines);
  }
  EXPECT_EQ(lines(text, {.width = 60, .height = all.size.height}).lines, all.lines);
}

TEST_P(TextContract, CanBeDrawn) {
  for (const double box : {0.0, 80.0}) {
    const auto broken = breaker_.broken(GetParam().text, wide(box));
    const TextPlacement placement{.scale = 3, .boxWidth = box, .alignment = TextAlignment::center};
    const TextMask* mask = textMask(*broken, placement);
    EXPECT_EQ(mask, textMask(*broken, placement)) << "drawn twice";
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, TextContract, ::testing::ValuesIn(kSamples), [](const auto& row) {
  return std::string(row.param.name);
});

TEST_F(TextTest, BreaksAtWordsAndInsideLongOnes) {
  const ArchivedText text{.text = "uno dos anticonstitucionalmente", .font = Font::system(10)};
  const auto broken = lines(text, wide(60)).lines;
  EXPECT_EQ(broken.front(), "uno dos");
  EXPECT_EQ(std::accumulate(broken.begin() + 1, broken.end(), std::string()),
            "anticonstitucionalmente")
      << "no hyphens are put in";
  EXPECT_THAT(lines({.text = "uno\ndos"}).lines, ElementsAre("uno", "dos"));
  EXPECT_THAT(lines({.text = "uno\ndos"}, wide(infinity)).lines, ElementsAre("uno", "dos"));
}

TEST_F(TextTest, EllipsisTakesAsMuchOfTheNextWordAsFits) {
  const ArchivedText text{.text = "uno dos anticonstitucionalmente"};
  const double enough = width({.text = "uno dos antic\u2026"});
  const TextLines cut = lines(text, {.width = enough, .height = 1});
  EXPECT_THAT(cut.lines, ElementsAre("uno dos antic\u2026"));
  // A line that ends its paragraph, with paragraphs dropped after it, is marked as cut too.
  EXPECT_THAT(lines({.text = "uno\ndos"}, {.width = 100, .height = 1}).lines,
              ElementsAre("uno\u2026"));
}

TEST_F(TextTest, WhiteSpaceAtTheEndOfAParagraphTakesNoRoom) {
  EXPECT_EQ(lines({.text = "hola \t\na  "}).size, lines({.text = "hola\na"}).size);
  EXPECT_THAT(lines({.text = " hola "}).lines, ElementsAre(" hola"));
  // A space alone holds a line open.
  EXPECT_EQ(lines({.text = " "}).size.height, lines({.text = "a"}).size.height);
}

TEST_F(TextTest, EmptyTextTakesNoRoom) {
  EXPECT_EQ(lines({.text = ""}, wide(50)).size, Size{});
}

TEST_F(TextTest, TrackingCountsBetweenClustersAndNotAfterTheLast) {
  struct Case {
    std::string text;
    int gaps;
  };
  const Case cases[] = {
      {"a", 0},
      {"ab", 1},
      {"fi", 1},
      {"e\u0301a", 1},
      {"a b c", 4},
  };
  for (const auto& [text, gaps] : cases) {
    for (const double tracking : {-0.48, 2.0}) {
      const double tight = width({.text = text, .tracking = 1e-4});
      EXPECT_NEAR(width({.text = text, .tracking = tracking}) - tight, gaps * tracking, 8 * kUnit)
          << text;
    }
  }
  // The same holds for the lines of a wrapped text.
  const ArchivedText loose{.text = "aaa bbb", .tracking = 4};
  EXPECT_NEAR(
      lines(loose, wide(50)).size.width,
      std::max(width({.text = "aaa", .tracking = 4}), width({.text = "bbb", .tracking = 4})),
      2 * kUnit);
}

TEST_F(TextTest, SkinTonesTakeNoRoom) {
  for (const char* family : {"", "Sentient Variable"}) {
    const Font font = Font::custom(family, 24);
    const Size plain = lines({.text = "\U0001F44B hola", .font = font}).size;
    for (const char* tone : {"\U0001F3FB", "\U0001F3FF"}) {
      const std::string toned = "\U0001F44B" + std::string(tone) + " hola";
      EXPECT_EQ(lines({.text = toned, .font = font}).size, plain) << family;
    }
  }
}

TEST_F(TextTest, SizesAreExactAndScale) {
  const double base = width({.text = kSentence, .font = Font::system(10)});
  for (const double size : {11.0, 14.0, 36.0, 100.0}) {
    EXPECT_NEAR(
        width({.text = kSentence, .font = Font::system(size)}), base * size / 10, size / 50);
  }
}

TEST_F(TextTest, WeightsDifferFromOneAnother) {
  for (const char* family : {"", "Sentient Variable"}) {
    double last = 0;
    double lastInk = 0;
    for (const Weight weight : {Weight::thin, Weight::regular, Weight::semibold, Weight::black}) {
      const ArchivedText text{.text = "Hamburgo", .font = {family, 40, weight}};
      EXPECT_GT(width(text), last) << family;
      last = width(text);
      const auto broken = breaker_.broken(text, {});
      const TextMask* mask = textMask(*broken, {.scale = 2, .boxWidth = last});
      const double ink = std::accumulate(mask->pixels.begin(), mask->pixels.end(), 0.0);
      EXPECT_GT(ink, lastInk * 1.05) << family << ": drawn in the same weight";
      lastInk = ink;
    }
  }
}

TEST_F(TextTest, FamiliesAnswerToTheirNamesAndMissingOnesToTheSystem) {
  const auto widthIn = [this](const std::string& family) {
    return width({.text = kSentence, .font = Font::custom(family, 20)});
  };
  EXPECT_EQ(widthIn("Sentient Variable"), widthIn("Literata"));
  EXPECT_NE(widthIn("Sentient Variable"), widthIn(""));
  for (const char* unknown : {"No Such Family", "DejaVu Sans", "Literata,Inter", ","}) {
    EXPECT_EQ(widthIn(unknown), widthIn("")) << unknown;
  }
}

TEST_F(TextTest, SerifCoversItsLanguagesAndKeepsItsLinesTogether) {
  const Font serif = Font::custom("Sentient Variable", 24);
  const double plain = lines({.text = "n", .font = serif}).size.height;
  EXPECT_NEAR(plain, 24 * 1.3, 0.01);
  for (const char* text : {"¡señal! ¿qué?",
                           "não, você",
                           "l\u2019\u0153uvre à \u00ABcôté\u00BB",
                           "\u201Cah\u201D \u2014 \u2026",
                           "ğ ő ž"}) {
    const auto broken = breaker_.broken({.text = text, .font = serif}, {});
    EXPECT_EQ(broken->size.height, plain) << text;
    EXPECT_NE(textMask(*broken, {.scale = 1, .boxWidth = broken->size.width}), nullptr) << text;
  }
}

struct AlignmentCase {
  TextAlignment alignment;
  std::string text;
  double share;
};

TEST_F(TextTest, LinesAreAlignedInTheirBox) {
  const std::string arabic = "\u0645\u0631\u062D\u0628\u0627";
  const AlignmentCase cases[] = {
      {TextAlignment::leading, "abc", 0},
      {TextAlignment::center, "abc", 0.5},
      {TextAlignment::trailing, "abc", 1},
      {TextAlignment::leading, arabic, 0},
      {TextAlignment::trailing, arabic, 1},
  };
  for (const auto& [alignment, text, share] : cases) {
    const auto broken = breaker_.broken({.text = text}, {});
    const TextPlacement placement{.scale = 1, .boxWidth = 200, .alignment = alignment};
    EXPECT_NEAR(lineStart(broken->lines[0], placement), share * (200 - broken->size.width), 1e-9)
        << text;
  }
}

// The library draws glyphs on whole pixels. A larger difference means a lost variation, offset or
// line.
TEST_F(TextTest, MaskAgreesWithTheLibrarysDrawing) {
  for (const ArchivedText& text : {
           ArchivedText{.text = kSentence, .font = Font::system(24, Weight::bold)},
           ArchivedText{.text = kSentence,
           .font = Font::custom("Sentient Variable", 24),
           .alignment = TextAlignment::trailing},
       }) {
    const auto broken = breaker_.broken(text, wide(200));
    const TextPlacement placement{.scale = 3, .boxWidth = 200, .alignment = text.alignment};
    const TextMask* mask = textMask(*broken, placement);
    ASSERT_NE(mask, nullptr);
    const auto reference = libraryCoverage(*broken, placement, 640, 560);
    double ours = 0;
    double theirs = 0;
    double difference = 0;
    for (int y = 0; y < 560; ++y) {
      for (int x = 0; x < 640; ++x) {
        const int own = coverageAt(*mask, x, y);
        const int other = reference[static_cast<std::size_t>(y) * 640 + x];
        ours += own;
        theirs += other;
        difference += std::abs(own - other);
      }
    }
    EXPECT_NEAR(ours / theirs, 1, 0.01);
    EXPECT_LT(difference / theirs, 0.2);
  }
}

TEST(TypefacesTest, ErrorsNameTheFileAtFault) {
  struct Case {
    std::string_view name;
    std::function<void(TestBundle&)> spoil;
    std::string_view error;
  };
  const auto plist = [](std::string_view members) {
    return [=](TestBundle& bundle) {
      bundle.write("Info.plist",
                   "<plist version=\"1.0\"><dict>" + std::string(members) + "</dict></plist>");
    };
  };
  const Case cases[] = {
      {"noInfo",
       [](auto& bundle) { std::filesystem::remove(bundle.folder() / "Info.plist"); },
       "Info.plist: No such file"},
      {"brokenInfo",
       [](auto& bundle) { bundle.write("Info.plist", "nonsense"); },
       "Info.plist: not a property list"},
      {"fontsNoArray",
       plist("<key>UIAppFonts</key><string>a.ttf</string>"),
       "UIAppFonts is not an array"},
      {"missingFont",
       plist("<key>UIAppFonts</key><array><string>a.ttf</string></array>"),
       "a.ttf: no such typeface file"},
      {"damagedFont",
       [&](auto& bundle) {
         bundle.write("a.ttf", "not a font");
         plist("<key>UIAppFonts</key><array><string>a.ttf</string></array>")(bundle);
       },
       "a.ttf: not a typeface that can be read"},
      {"aliasOfNothing",
       plist("<key>GlanceryFontAliases</key><dict><key>A</key><string>B</string></dict>"),
       "GlanceryFontAliases gives \"A\" a family"},
  };
  for (const Case& row : cases) {
    TestBundle bundle;
    row.spoil(bundle);
    const auto opened = Typefaces::open(bundle.folder(), kSystemFonts);
    ASSERT_FALSE(opened) << row.name;
    EXPECT_THAT(opened.error(), StartsWith(bundle.folder().string())) << row.name;
    EXPECT_THAT(opened.error(), ::testing::HasSubstr(row.error)) << row.name;
  }
  TestBundle bundle;
  const auto noSystem = Typefaces::open(bundle.folder(), bundle.folder() / "none");
  ASSERT_FALSE(noSystem);
  EXPECT_THAT(noSystem.error(), EndsWith("none: no typeface in the system's fonts folder"));
}

// A text with a character that only a fallback has is shaped again with it; without fallbacks it
// shows boxes.
TEST(TypefacesTest, FallbacksAreOpenedForCharactersThatNothingElseHas) {
  TestBundle bundle;
  namespace fs = std::filesystem;
  const fs::path fonts = bundle.folder() / "Fonts";
  fs::create_directories(fonts / "Fallback");
  fs::copy(fs::path(GLANCERY_TEST_FONTS) / "Literata-latin.ttf", fonts);
  fs::copy(fs::path(GLANCERY_TEST_FONTS) / "Literata-latin-ext.ttf", fonts / "Fallback");
  bundle.write("Info.plist", "<plist version=\"1.0\"><dict></dict></plist>");
  auto typefaces = Typefaces::open(bundle.folder(), fonts);
  ASSERT_TRUE(typefaces) << typefaces.error();
  TextBreaker breaker(**typefaces);
  const ArchivedText latin{.text = "hola"};
  const Size before = breaker.breakLines(latin, {}).size;
  const auto extended = breaker.broken({.text = "\u0151"}, {});
  EXPECT_NE(textMask(*extended, {.scale = 1, .boxWidth = 20}), nullptr) << "still a box";
  EXPECT_EQ(textMask(*breaker.broken({.text = "\u4ECA"}, {}), {.scale = 1, .boxWidth = 20}),
            nullptr);
  EXPECT_EQ(breaker.breakLines(latin, {}).size, before);
  EXPECT_FALSE((*typefaces)->openFallbacks());
}

}  // namespace
}  // namespace platform
