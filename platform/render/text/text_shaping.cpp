#include "platform/render/text/text_shaping.h"

#include <hb.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string_view>
#include <utility>

namespace platform {
namespace {

constexpr std::string_view kEllipsis = "\u2026";

/// Book typefaces ask for lines that a widget has no room for: Literata's natural line is 1.5 times
/// its size. A taller one is cut to this share of the size, above and below alike.
constexpr double kTallestLine = 1.3;

struct FreeDescription {
  void operator()(PangoFontDescription* value) const { pango_font_description_free(value); }
};
struct Unref {
  void operator()(PangoFont* value) const { g_object_unref(value); }
};
struct FreeAttributes {
  void operator()(PangoAttrList* value) const { pango_attr_list_unref(value); }
};
struct FreeIterator {
  void operator()(PangoLayoutIter* value) const { pango_layout_iter_free(value); }
};

int tracking(const TextStyle& style) {
  return static_cast<int>(std::lround(style.tracking * PANGO_SCALE));
}

std::unique_ptr<PangoFontDescription, FreeDescription> description(const TextStyle& style) {
  std::unique_ptr<PangoFontDescription, FreeDescription> font(pango_font_description_new());
  pango_font_description_set_family(font.get(), style.families.c_str());
  pango_font_description_set_absolute_size(font.get(), style.size * PANGO_SCALE);
  pango_font_description_set_weight(font.get(),
                                    static_cast<PangoWeight>(std::to_underlying(style.weight)));
  // Left alone, a typeface with optical sizes takes the one of 96 dots an inch: three quarters.
  const std::string opticalSize = "opsz=" + std::to_string(style.size);
  pango_font_description_set_variations(font.get(), opticalSize.c_str());
  return font;
}

/// The typeface's own line about the baseline, without width. Pango's metrics would set a whole
/// sample sentence to answer this.
PangoRectangle naturalLine(PangoContext* context, const PangoFontDescription* description) {
  const std::unique_ptr<PangoFont, Unref> font(pango_context_load_font(context, description));
  hb_font_extents_t extents = {};
  if (!font || !hb_font_get_h_extents(pango_font_get_hb_font(font.get()), &extents)) {
    return {};
  }
  return {
      .x = 0, .y = -extents.ascender, .width = 0, .height = extents.ascender - extents.descender};
}

/// A tone of skin colours the figure before it. Where symbols have one colour it is nothing, while
/// the typeface has a swatch for it.
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

std::unique_ptr<PangoAttrList, FreeAttributes> attributes(PangoContext* context,
                                                          const PangoFontDescription* font,
                                                          const TextStyle& style,
                                                          const std::string& text) {
  std::unique_ptr<PangoAttrList, FreeAttributes> list(pango_attr_list_new());
  pango_attr_list_insert(list.get(), pango_attr_insert_hyphens_new(FALSE));
  if (tracking(style) != 0) {
    pango_attr_list_insert(list.get(), pango_attr_letter_spacing_new(tracking(style)));
  }
  const auto tallest = static_cast<int>(style.size * kTallestLine * PANGO_SCALE);
  const PangoRectangle line = naturalLine(context, font);
  if (line.height > tallest) {
    pango_attr_list_insert(list.get(), pango_attr_line_height_new_absolute(tallest));
  }
  hideSkinTones(text, line, list.get());
  return list;
}

bool isSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Where the text may be cut: before each character cluster from `begin` on, and at `end`.
std::vector<int> cuts(PangoLayout* layout, int begin, int end) {
  int count = 0;
  const PangoLogAttr* marks = pango_layout_get_log_attrs_readonly(layout, &count);
  const char* text = pango_layout_get_text(layout);
  std::vector<int> found;
  const char* at = text;
  for (int i = 0; i < count && at - text <= end; ++i, at = g_utf8_next_char(at)) {
    if (at - text >= begin && marks[i].is_cursor_position) {
      found.push_back(static_cast<int>(at - text));
    }
  }
  return found;
}

}  // namespace

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

Handle<PangoLayout> shapeText(PangoContext* context,
                              const TextStyle& style,
                              const std::string& text,
                              int width) {
  Handle<PangoLayout> layout(pango_layout_new(context));
  const auto font = description(style);
  pango_layout_set_font_description(layout.get(), font.get());
  pango_layout_set_attributes(layout.get(), attributes(context, font.get(), style, text).get());
  pango_layout_set_wrap(layout.get(), PANGO_WRAP_WORD_CHAR);
  // Pango counts the tracking after a line's last cluster when it breaks, and leaves it out later.
  pango_layout_set_width(layout.get(),
                         width == kUnlimited ? -1 : std::max(0, width + tracking(style)));
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));
  return layout;
}

std::vector<ShapedLine> shapedLines(PangoLayout* layout) {
  const char* text = pango_layout_get_text(layout);
  std::vector<ShapedLine> lines;
  const std::unique_ptr<PangoLayoutIter, FreeIterator> iterator(pango_layout_get_iter(layout));
  do {
    PangoLayoutLine* line = pango_layout_iter_get_line_readonly(iterator.get());
    PangoRectangle logical = {};
    pango_layout_iter_get_line_extents(iterator.get(), nullptr, &logical);
    ShapedLine shaped{.begin = line->start_index,
                      .end = line->start_index + line->length,
                      .width = logical.width,
                      .height = logical.height,
                      .baseline = pango_layout_iter_get_baseline(iterator.get())};
    while (shaped.end > shaped.begin && isSpace(text[shaped.end - 1])) {
      --shaped.end;
    }
    lines.push_back(shaped);
  } while (pango_layout_iter_next_line(iterator.get()));
  return lines;
}

Handle<PangoLayout> shapeTruncated(PangoContext* context,
                                   const TextStyle& style,
                                   PangoLayout* whole,
                                   int width,
                                   std::size_t lines) {
  const std::string text = pango_layout_get_text(whole);
  const auto shaped = shapedLines(whole);
  const ShapedLine& last = shaped[lines - 1];
  const ShapedLine& dropped = shaped[lines];
  // The last line may also take the first characters of the next one, unless that one starts anew.
  const bool sameParagraph = text.find('\n', last.begin) >= static_cast<std::size_t>(dropped.begin);
  const std::vector<int> ends =
      cuts(whole, last.begin, sameParagraph ? std::max(dropped.end, last.end) : last.end);

  const auto cutAt = [&](int end) {
    while (end > last.begin && isSpace(text[end - 1])) {
      --end;
    }
    return shapeText(context, style, text.substr(0, end).append(kEllipsis), width);
  };
  const auto fits = [&](int end) {
    return static_cast<std::size_t>(pango_layout_get_line_count(cutAt(end).get())) <= lines;
  };
  const auto firstTooLong = std::ranges::partition_point(ends, fits);
  return cutAt(firstTooLong == ends.begin() ? last.begin : *std::prev(firstTooLong));
}

}  // namespace platform
