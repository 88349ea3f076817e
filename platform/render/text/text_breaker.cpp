#include "platform/render/text/text_breaker.h"

#include <hb.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

namespace platform {
namespace {

/// From this length on, nothing wraps or is dropped. Pango's units overflow at two million points.
constexpr double kLongest = 1'000'000;
/// Larger than any widget. Above it, Pango's units could overflow within a long text.
constexpr double kLargestFont = 2000;
/// A home screen shows about a hundred different texts a day, each proposed a few sizes.
constexpr std::size_t kMostTexts = 2048;

constexpr std::string_view kEllipsis = "\u2026";

/// Lines are at most this multiple of the font's size; taller ones are cut evenly above and below.
/// A widget has no room for the natural lines of book typefaces: Literata's are 1.5 times its size.
constexpr double kTallestLine = 1.3;

/// Beyond every length in Pango's units.
constexpr int kUnlimited = std::numeric_limits<int>::max();

template <auto kFree>
struct Free {
  void operator()(auto* value) const { kFree(value); }
};
using Description = std::unique_ptr<PangoFontDescription, Free<pango_font_description_free>>;

double fontSize(const ArchivedText& text) {
  return std::clamp(text.font.size, 0.0, kLargestFont);
}

/// In Pango's units.
int tracking(const ArchivedText& text) {
  return static_cast<int>(
      std::lround(std::clamp(text.tracking, -kLargestFont, kLargestFont) * PANGO_SCALE));
}

Description description(const Typefaces& typefaces, const ArchivedText& text) {
  Description font(pango_font_description_new());
  pango_font_description_set_family(font.get(), typefaces.families(text.font.family).c_str());
  pango_font_description_set_absolute_size(font.get(), fontSize(text) * PANGO_SCALE);
  pango_font_description_set_weight(font.get(),
                                    static_cast<PangoWeight>(std::to_underlying(text.font.weight)));
  // By default, a typeface with optical sizes takes the one for 96 dots an inch, three quarters.
  const std::string opticalSize = "opsz=" + std::to_string(fontSize(text));
  pango_font_description_set_variations(font.get(), opticalSize.c_str());
  return font;
}

/// The typeface's own line about the baseline, without width. Pango's metrics would shape a sample
/// sentence for this.
PangoRectangle naturalLine(PangoContext* context, const PangoFontDescription* description) {
  const std::unique_ptr<PangoFont, Free<g_object_unref>> font(
      pango_context_load_font(context, description));
  hb_font_extents_t extents = {};
  if (!font || !hb_font_get_h_extents(pango_font_get_hb_font(font.get()), &extents)) {
    return {};
  }
  return {
      .x = 0, .y = -extents.ascender, .width = 0, .height = extents.ascender - extents.descender};
}

/// A skin tone colours the figure before it. Symbols here have one colour, and the typeface would
/// draw a swatch for the tone.
void hideSkinTones(const std::string& text, const PangoRectangle& line, PangoAttrList* list) {
  constexpr std::string_view kCommonBytes = "\xF0\x9F\x8F";  // U+1F3FB to U+1F3FF.
  for (std::size_t at = text.find(kCommonBytes); at != text.npos;
       at = text.find(kCommonBytes, at + 1)) {
    const std::size_t end = at + kCommonBytes.size() + 1;
    if (end <= text.size() && text[end - 1] >= '\xBB' && text[end - 1] <= '\xBF') {
      constexpr PangoRectangle kNothing = {};
      PangoAttribute* hidden = pango_attr_shape_new(&kNothing, &line);
      hidden->start_index = static_cast<guint>(at);
      hidden->end_index = static_cast<guint>(end);
      pango_attr_list_insert(list, hidden);
    }
  }
}

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Where the text may be cut: at `begin`, before each later character cluster, and at `end`.
std::vector<int> cuts(PangoLayout* layout, int begin, int end) {
  int count = 0;
  const PangoLogAttr* marks = pango_layout_get_log_attrs_readonly(layout, &count);
  const char* text = pango_layout_get_text(layout);
  std::vector<int> found = {begin};
  const char* at = text;
  for (int i = 0; i < count && at - text <= end; ++i, at = g_utf8_next_char(at)) {
    if (at - text > begin && marks[i].is_cursor_position) {
      found.push_back(static_cast<int>(at - text));
    }
  }
  return found;
}

/// The text less the white space at the end of each paragraph, which would shift aligned lines and
/// wrap onto lines of its own.
std::string withoutTrailingSpace(const std::string& text) {
  std::string kept;
  kept.reserve(text.size());
  std::size_t spaces = 0;
  for (const char c : text) {
    if (c == '\n') {
      kept.resize(kept.size() - spaces);
    }
    kept += c;
    spaces = c == ' ' || c == '\t' ? spaces + 1 : 0;
  }
  kept.resize(kept.size() - spaces);
  return kept;
}

/// The text in that style, wrapped at `width` units, at words and inside those wider than a line.
/// An unlimited width breaks only at line feeds.
Handle<PangoLayout> shapeText(const Typefaces& typefaces,
                              const ArchivedText& style,
                              const std::string& text,
                              int width) {
  Handle<PangoLayout> layout(pango_layout_new(typefaces.context()), g_object_unref);
  const auto font = description(typefaces, style);
  pango_layout_set_font_description(layout.get(), font.get());

  const std::unique_ptr<PangoAttrList, Free<pango_attr_list_unref>> list(pango_attr_list_new());
  pango_attr_list_insert(list.get(), pango_attr_insert_hyphens_new(FALSE));
  if (tracking(style) != 0) {
    pango_attr_list_insert(list.get(), pango_attr_letter_spacing_new(tracking(style)));
  }
  const auto tallest = static_cast<int>(fontSize(style) * kTallestLine * PANGO_SCALE);
  const PangoRectangle line = naturalLine(typefaces.context(), font.get());
  if (line.height > tallest) {
    pango_attr_list_insert(list.get(), pango_attr_line_height_new_absolute(tallest));
  }
  hideSkinTones(text, line, list.get());
  pango_layout_set_attributes(layout.get(), list.get());

  pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
  // Pango counts the tracking after a line's last cluster when it breaks, and leaves it out later.
  pango_layout_set_width(layout.get(),
                         width == kUnlimited ? -1 : std::max(0, width + tracking(style)));
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
  return layout;
}

/// Shapes the text of `whole`, which has more lines at that width, so that it has at most `lines`.
/// The last of them ends with an ellipsis.
Handle<PangoLayout> shapeTruncated(const Typefaces& typefaces,
                                   const ArchivedText& style,
                                   const BrokenText& whole,
                                   int width,
                                   std::size_t lines) {
  const std::string text = pango_layout_get_text(whole.layout.get());
  const BrokenLine& last = whole.lines[lines - 1];
  const BrokenLine& dropped = whole.lines[lines];
  // The last line may also take the first characters of the next line of its paragraph.
  const bool sameParagraph = text.find('\n', last.begin) >= static_cast<std::size_t>(dropped.begin);
  const std::vector<int> ends =
      cuts(whole.layout.get(),
           last.begin,
           sameParagraph ? std::max(dropped.end(), last.end()) : last.end());

  const auto shapeCut = [&](int begin, int end) {
    while (end > last.begin && isSpace(text[end - 1])) {
      --end;
    }
    return shapeText(typefaces, style, text.substr(begin, end - begin).append(kEllipsis), width);
  };
  const auto linesFrom = [&](int begin, int end) {
    return static_cast<std::size_t>(pango_layout_get_line_count(shapeCut(begin, end).get()));
  };
  // The search shapes the last line alone. Its letters may be a little wider there, so the lines of
  // the whole are counted once more.
  auto cut =
      std::ranges::partition_point(ends, [&](int end) { return linesFrom(last.begin, end) == 1; });
  cut = cut == ends.begin() ? cut : std::prev(cut);
  while (cut != ends.begin() && linesFrom(0, *cut) > lines) {
    --cut;
  }
  return shapeCut(0, *cut);
}

int units(const std::optional<double>& length) {
  if (!length || !(*length < kLongest)) {
    return kUnlimited;
  }
  return static_cast<int>(std::lround(std::max(0.0, *length) * PANGO_SCALE));
}

double points(int units) {
  return static_cast<double>(units) / PANGO_SCALE;
}

/// The text and everything that its lines depend on.
std::string keyOf(const ArchivedText& text, int width, int height) {
  std::string key = text.text + text.font.family;
  for (const double number : {static_cast<double>(text.text.size()),
                              text.font.size,
                              static_cast<double>(text.font.weight),
                              text.tracking,
                              static_cast<double>(width),
                              static_cast<double>(height)}) {
    key.append(reinterpret_cast<const char*>(&number), sizeof number);
  }
  return key;
}

/// How many lines fit into `height`; one at least.
std::size_t linesWithin(const BrokenText& text, int height) {
  std::size_t count = 0;
  int total = 0;
  while (count < text.lines.size() && (total += text.lines[count].height) <= height) {
    ++count;
  }
  return std::max<std::size_t>(count, 1);
}

std::shared_ptr<const BrokenText> brokenText(Handle<PangoLayout> layout) {
  auto result = std::make_shared<BrokenText>();
  const char* text = pango_layout_get_text(layout.get());
  const std::unique_ptr<PangoLayoutIter, Free<pango_layout_iter_free>> iterator(
      pango_layout_get_iter(layout.get()));
  int width = 0;
  int height = 0;
  do {
    const PangoLayoutLine* line = pango_layout_iter_get_line_readonly(iterator.get());
    PangoRectangle logical = {};
    pango_layout_iter_get_line_extents(iterator.get(), nullptr, &logical);
    const int begin = line->start_index;
    int end = begin + line->length;
    while (end > begin && isSpace(text[end - 1])) {
      --end;
    }
    width = std::max(width, logical.width);
    height += logical.height;
    result->lines.push_back({.text = std::string(text + begin, text + end),
                             .width = points(logical.width),
                             .baseline = points(pango_layout_iter_get_baseline(iterator.get())),
                             .begin = begin,
                             .height = logical.height});
  } while (pango_layout_iter_next_line(iterator.get()));
  result->size = {points(width), points(height)};
  result->layout = std::move(layout);
  return result;
}

}  // namespace

TextLines TextBreaker::breakLines(const ArchivedText& text, ProposedSize proposal) {
  const auto result = broken(text, proposal);
  TextLines lines{.size = result->size, .lines = {}};
  lines.lines.reserve(result->lines.size());
  for (const BrokenLine& line : result->lines) {
    lines.lines.push_back(line.text);
  }
  return lines;
}

std::shared_ptr<const BrokenText> TextBreaker::broken(const ArchivedText& text,
                                                      ProposedSize proposal) {
  if (text.text.empty()) {
    return std::make_shared<const BrokenText>();
  }
  const Box box{.width = units(proposal.width), .height = units(proposal.height)};
  if (auto known = find(text, box)) {
    return known;
  }
  auto whole = wholeText(text, box.width);
  if (units(whole->size.height) <= box.height) {
    return whole;
  }
  const std::size_t lines = linesWithin(*whole, box.height);
  return lines == whole->lines.size()
             ? whole
             : keep(text, box, shapeTruncated(typefaces_, text, *whole, box.width, lines));
}

std::shared_ptr<const BrokenText> TextBreaker::wholeText(const ArchivedText& text, int width) {
  if (auto known = find(text, {width, kUnlimited})) {
    return known;
  }
  // Only a narrower box moves a word down.
  if (auto known = find(text, {kUnlimited, kUnlimited});
      known && units(known->size.width) <= width) {
    return known;
  }
  const std::string kept = withoutTrailingSpace(text.text);
  auto layout = shapeText(typefaces_, text, kept, width);
  if (pango_layout_get_unknown_glyphs_count(layout.get()) > 0 && typefaces_.openFallbacks()) {
    texts_.clear();
    layout = shapeText(typefaces_, text, kept, width);
  }
  return keep(text, {width, kUnlimited}, std::move(layout));
}

std::shared_ptr<const BrokenText> TextBreaker::find(const ArchivedText& text, Box box) const {
  const auto known = texts_.find(keyOf(text, box.width, box.height));
  return known == texts_.end() ? nullptr : known->second;
}

std::shared_ptr<const BrokenText> TextBreaker::keep(const ArchivedText& text,
                                                    Box box,
                                                    Handle<PangoLayout> layout) {
  if (texts_.size() >= kMostTexts) {
    texts_.clear();
  }
  auto result = brokenText(std::move(layout));
  texts_.emplace(keyOf(text, box.width, box.height), result);
  // Drawing proposes the size that measuring has returned.
  texts_.emplace(keyOf(text, units(result->size.width), units(result->size.height)), result);
  return result;
}

}  // namespace platform
