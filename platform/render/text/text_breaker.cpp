#include "platform/render/text/text_breaker.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "platform/render/text/text_mask.h"
#include "platform/render/text/text_shaping.h"

namespace platform {
namespace {

/// Beyond this nothing wraps or is dropped; Pango's units end at two million points.
constexpr double kLongest = 1'000'000;
/// Larger than any widget; beyond it Pango's units could overflow within a long text.
constexpr double kLargestFont = 2000;
/// A home screen shows some hundred different texts a day.
constexpr std::size_t kMostTexts = 512;

int units(const std::optional<double>& length) {
  if (!length || !(*length < kLongest)) {
    return kUnlimited;
  }
  return static_cast<int>(std::lround(std::max(0.0, *length) * PANGO_SCALE));
}

double points(int units) {
  return static_cast<double>(units) / PANGO_SCALE;
}

/// How many lines are no taller than `height` together; one at least.
std::size_t linesWithin(const std::vector<ShapedLine>& lines, int height) {
  std::size_t count = 0;
  int total = 0;
  while (count < lines.size() && (total += lines[count].height) <= height) {
    ++count;
  }
  return std::max<std::size_t>(count, 1);
}

std::shared_ptr<const BrokenText> brokenText(Handle<PangoLayout> layout) {
  auto result = std::make_shared<BrokenText>();
  const char* text = pango_layout_get_text(layout.get());
  int width = 0;
  int height = 0;
  for (const ShapedLine& line : shapedLines(layout.get())) {
    width = std::max(width, line.width);
    height += line.height;
    result->lines.push_back({.text = std::string(text + line.begin, text + line.end),
                             .width = points(line.width),
                             .baseline = points(line.baseline)});
  }
  result->size = {points(width), points(height)};
  result->layout = std::move(layout);
  return result;
}

}  // namespace

BrokenText::BrokenText() = default;
BrokenText::~BrokenText() = default;

std::size_t TextBreaker::KeyHash::operator()(const Key& key) const {
  std::size_t hash = std::hash<std::string>{}(key.text);
  const auto add = [&hash](std::size_t value) { hash = hash * 1'000'003 ^ value; };
  add(std::hash<std::string>{}(key.family));
  add(std::hash<double>{}(key.size));
  add(std::hash<double>{}(key.tracking));
  add(static_cast<std::size_t>(std::to_underlying(key.weight)));
  return hash;
}

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
  const Key key{.text = text.text,
                .family = text.font.family,
                .size = text.font.size,
                .weight = text.font.weight,
                .tracking = text.tracking};
  const Box box{.width = units(proposal.width), .height = units(proposal.height)};
  const WholeText whole = wholeText(key, box.width);
  return box.height >= whole.height ? whole.text : truncated(key, box, whole);
}

TextBreaker::WholeText TextBreaker::wholeText(const Key& key, int width) {
  if (const auto entry = texts_.find(key); entry != texts_.end()) {
    for (const WholeText& known : entry->second.whole) {
      if (width == known.proposed || (width >= known.widest && width < known.proposed)) {
        return known;
      }
    }
  }
  const TextStyle style = styleOf(key);
  const std::string text = withoutTrailingSpace(key.text);
  auto layout = shapeText(typefaces_.context(), style, text, width);
  if (pango_layout_get_unknown_glyphs_count(layout.get()) > 0 && typefaces_.openFallbacks()) {
    texts_.clear();
    layout = shapeText(typefaces_.context(), style, text, width);
  }
  const auto result = brokenText(std::move(layout));
  WholeText whole{.proposed = width,
                  .widest = units(result->size.width),
                  .height = units(result->size.height),
                  .text = result};
  if (texts_.size() >= kMostTexts) {
    texts_.clear();
  }
  texts_[key].whole.push_back(whole);
  return whole;
}

std::shared_ptr<const BrokenText> TextBreaker::truncated(const Key& key,
                                                         Box box,
                                                         const WholeText& whole) {
  const std::size_t lines = linesWithin(shapedLines(whole.text->layout.get()), box.height);
  if (lines == whole.text->lines.size()) {
    return whole.text;
  }
  auto& known = texts_[key].truncated;
  if (const auto found = known.find(box); found != known.end()) {
    return found->second;
  }
  auto result = brokenText(shapeTruncated(
      typefaces_.context(), styleOf(key), whole.text->layout.get(), box.width, lines));
  // It will be drawn at the size it answers here.
  known.emplace(Box{.width = units(result->size.width), .height = units(result->size.height)},
                result);
  known.emplace(box, result);
  return result;
}

TextStyle TextBreaker::styleOf(const Key& key) const {
  return {.families = typefaces_.families(key.family),
          .size = std::clamp(key.size, 0.0, kLargestFont),
          .weight = key.weight,
          .tracking = std::clamp(key.tracking, -kLargestFont, kLargestFont)};
}

}  // namespace platform
