#include "platform/render/text_breaker.h"

#include <pango/pangocairo.h>

#include <cmath>
#include <functional>
#include <utility>

#include "platform/render/text_mask.h"
#include "platform/render/text_shaping.h"

namespace platform {
namespace {

/// Beyond this nothing wraps or is dropped; Pango's units end at two million points.
constexpr double kUnlimited = 1'000'000;
/// A home screen of a day shows some hundred different texts.
constexpr std::size_t kMostTexts = 1024;

int units(const std::optional<double>& length) {
  if (!length || !(*length < kUnlimited)) {
    return -1;
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
  add(static_cast<std::size_t>(key.width));
  add(static_cast<std::size_t>(key.height));
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
  Key key{.text = text.text,
          .family = text.font.family,
          .size = text.font.size,
          .weight = text.font.weight,
          .tracking = text.tracking,
          .width = units(proposal.width),
          .height = units(proposal.height)};
  if (const auto known = broken_.find(key); known != broken_.end()) {
    return known->second;
  }
  if (broken_.size() >= kMostTexts) {
    broken_.clear();
  }
  auto result = shape(key);
  // It will be drawn at the size it answers here. Only if a line had no room for one cluster would
  // it break otherwise there.
  Key own = key;
  own.width = units(result->size.width);
  own.height = units(result->size.height);
  if (key.width < 0 || own.width <= key.width) {
    broken_.insert_or_assign(std::move(own), result);
  }
  broken_.insert_or_assign(std::move(key), result);
  return result;
}

std::shared_ptr<const BrokenText> TextBreaker::shape(const Key& key) {
  auto result = std::make_shared<BrokenText>();
  if (key.text.empty()) {
    return result;
  }
  const TextStyle style{.families = typefaces_.families(key.family),
                        .size = key.size,
                        .weight = key.weight,
                        .tracking = key.tracking};
  const std::string text = withoutTrailingSpace(key.text);
  result->layout = shapeText(typefaces_.context(), style, text, key.width);
  if (pango_layout_get_unknown_glyphs_count(result->layout.get()) > 0 &&
      typefaces_.openFallbacks()) {
    broken_.clear();
    result->layout = shapeText(typefaces_.context(), style, text, key.width);
  }
  auto lines = shapedLines(result->layout.get());
  if (key.height >= 0 && linesWithin(lines, key.height) < lines.size()) {
    result->layout = shapeTruncated(typefaces_.context(),
                                    style,
                                    result->layout.get(),
                                    key.width,
                                    linesWithin(lines, key.height));
    lines = shapedLines(result->layout.get());
  }
  const char* drawn = pango_layout_get_text(result->layout.get());
  int width = 0;
  int height = 0;
  for (const ShapedLine& line : lines) {
    width = std::max(width, line.width);
    height += line.height;
    result->lines.push_back({.text = std::string(drawn + line.begin, drawn + line.end),
                             .width = points(line.width),
                             .baseline = points(line.baseline),
                             .rightToLeft = line.rightToLeft});
  }
  result->size = {points(width), points(height)};
  return result;
}

}  // namespace platform
