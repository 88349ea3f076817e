#include "host/sheet/checks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <sstream>

#include "platform/support/utf8.h"

namespace host {

using namespace platform;

namespace {

/// In points. Smaller excesses and overlaps come from rounding to whole pixels.
constexpr double kTolerance = 0.5;
/// The lowest contrast of text of usual sizes, by WCAG 2.
constexpr double kMinContrast = 4.5;
/// The shortest side of a tap area, in points.
constexpr double kMinTapSide = 44;
constexpr std::string_view kEllipsis = "…";

std::string inQuotes(std::string_view text) {
  std::string shown(text);
  std::ranges::replace(shown, '\n', ' ');
  return "“" + shown + "”";
}

/// With at most one decimal.
std::string tenths(double number) {
  std::ostringstream text;
  text << std::round(number * 10) / 10;
  return text.str();
}

const TextItem* textOf(const DisplayItem& item) {
  return std::get_if<TextItem>(&item.content);
}

bool isTruncated(const TextItem& text) {
  if (text.lines.empty()) {
    return !text.text.text.empty();
  }
  return text.lines.back().ends_with(kEllipsis) && !text.text.text.ends_with(kEllipsis);
}

bool isBetween(char32_t point, char32_t first, char32_t last) {
  return point >= first && point <= last;
}

/// A letter or digit of a script that puts spaces between words: ASCII, or U+00C0 to U+07FF.
bool isOfWord(std::optional<char32_t> point) {
  return point && (isBetween(*point, 'a', 'z') || isBetween(*point, 'A', 'Z') ||
                   isBetween(*point, '0', '9') || isBetween(*point, 0xC0, 0x7FF));
}

/// The last code point of a text that is not empty.
std::optional<char32_t> lastCodePoint(std::string_view text) {
  std::size_t start = text.size() - 1;
  while (start > 0 && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) {
    --start;
  }
  text.remove_prefix(start);
  return takeFirstCodePoint(text);
}

/// Whether a line ends inside a word, which happens if the word is wider than the line.
bool breaksWord(const TextItem& text) {
  const std::string_view source = text.text.text;
  std::size_t end = 0;
  for (const std::string& line : text.lines) {
    const std::size_t start = source.find(line, end);
    if (start == source.npos) {
      return false;  // The last line of a truncated text ends with an ellipsis instead.
    }
    const std::string_view before = source.substr(0, end);
    std::string_view after = source.substr(end);
    if (start == end && !before.empty() && !after.empty() && isOfWord(lastCodePoint(before)) &&
        isOfWord(takeFirstCodePoint(after))) {
      return true;
    }
    end = start + line.size();
  }
  return false;
}

/// Whether the text looks like a key of the string tables: LIKE_THIS_1. A key without a translation
/// is shown as it is.
bool isKey(std::string_view text) {
  const auto isOfKey = [](char character) {
    return isBetween(character, 'A', 'Z') || isBetween(character, '0', '9') || character == '_';
  };
  return text.size() > 2 && text.find('_') != text.npos && isBetween(text.front(), 'A', 'Z') &&
         text.back() != '_' && std::ranges::all_of(text, isOfKey);
}

/// How far a frame reaches beyond the widget, in points, on the side where it reaches farthest.
double excess(const Rect& frame, Size widget) {
  return std::max({-frame.x,
                   -frame.y,
                   frame.x + frame.width - widget.width,
                   frame.y + frame.height - widget.height});
}

void checkText(const DisplayItem& item, Size widget, std::vector<Finding>& findings) {
  const TextItem& text = *textOf(item);
  const std::string shown = inQuotes(text.text.text);
  if (isTruncated(text)) {
    findings.push_back({check::textTruncated, shown + " is cut off"});
  }
  if (breaksWord(text)) {
    findings.push_back({check::wordBroken, shown + " is broken inside a word"});
  }
  if (const double beyond = excess(item.frame, widget); beyond > kTolerance) {
    findings.push_back(
        {check::textOutside, shown + " reaches " + tenths(beyond) + " points beyond the widget"});
  }
  if (isKey(text.text.text)) {
    findings.push_back({check::translationMissing, shown + " has no translation"});
  }
}

void checkOverlaps(const DisplayList& list, std::vector<Finding>& findings) {
  for (auto one = list.items.begin(); one != list.items.end(); ++one) {
    for (auto other = std::next(one); textOf(*one) && other != list.items.end(); ++other) {
      const Rect shared = intersect(one->frame, other->frame);
      if (textOf(*other) && shared.width > kTolerance && shared.height > kTolerance) {
        findings.push_back({check::textsOverlap,
                            inQuotes(textOf(*one)->text.text) + " and " +
                                inQuotes(textOf(*other)->text.text) + " overlap"});
      }
    }
  }
}

/// All items with the same link form one tap area: the smallest rectangle around them.
void checkTapAreas(const DisplayList& list, std::vector<Finding>& findings) {
  std::map<std::string, Rect> areas;
  for (const DisplayItem& item : list.items) {
    if (item.link) {
      Rect& area = areas.try_emplace(*item.link, item.frame).first->second;
      area = unite(area, item.frame);
    }
  }
  for (const auto& [link, area] : areas) {
    if (area.width < kMinTapSide || area.height < kMinTapSide) {
      findings.push_back({check::tapAreaSmall,
                          link + " opens from an area of " + tenths(area.width) + " by " +
                              tenths(area.height) + " points"});
    }
  }
}

/// The linear light of the 256 values of a channel, by the definition of sRGB that WCAG refers to.
const std::array<double, 256>& linearLight() {
  static const auto table = [] {
    std::array<double, 256> light = {};
    for (std::size_t value = 0; value < light.size(); ++value) {
      const double share = static_cast<double>(value) / 255;
      light[value] = share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
    }
    return light;
  }();
  return table;
}

double luminance(std::uint32_t pixel) {
  const auto& light = linearLight();
  return 0.2126 * light[(pixel >> 16) & 0xFF] + 0.7152 * light[(pixel >> 8) & 0xFF] +
         0.0722 * light[pixel & 0xFF];
}

double contrast(double one, double other) {
  return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

/// The colour over an opaque pixel.
std::uint32_t over(std::uint32_t pixel, const Color& color) {
  const auto channel = [&](double component, int shift) {
    const double below = (pixel >> shift) & 0xFF;
    const double mixed = below + (component * 255 - below) * color.opacity;
    return static_cast<std::uint32_t>(std::lround(std::clamp(mixed, 0.0, 255.0))) << shift;
  };
  return 0xFF'00'00'00 | channel(color.red, 16) | channel(color.green, 8) | channel(color.blue, 0);
}

/// A premultiplied pixel on the scheme's background: white or black.
std::uint32_t opaque(std::uint32_t pixel, ColorScheme scheme) {
  const std::uint32_t rest = scheme == ColorScheme::dark ? 0 : 255 - (pixel >> 24);
  return (pixel | 0xFF'00'00'00) + (rest << 16 | rest << 8 | rest);
}

/// The images and fills drawn before an item, cut to the item's frame. The cut is at whole points,
/// so that the pixels are the same as in the whole widget.
DisplayList beneath(const DisplayList& list, const DisplayItem& item) {
  const Rect visible = intersect(item.frame, {0, 0, list.size.width, list.size.height});
  const double left = std::floor(visible.x);
  const double top = std::floor(visible.y);
  DisplayList part = {.size = {std::ceil(visible.x + visible.width) - left,
                               std::ceil(visible.y + visible.height) - top}};
  for (const DisplayItem& other : list.items) {
    if (&other == &item) {
      break;
    }
    if (!textOf(other)) {
      part.items.push_back(other);
      part.items.back().frame.x -= left;
      part.items.back().frame.y -= top;
    }
  }
  return part;
}

}  // namespace

std::vector<Finding> checkList(const DisplayList& list,
                               const std::set<std::string>& missingImages) {
  std::vector<Finding> findings;
  for (const DisplayItem& item : list.items) {
    if (textOf(item)) {
      checkText(item, list.size, findings);
    }
    const auto* image = std::get_if<ImageItem>(&item.content);
    if (image && missingImages.contains(image->name)) {
      findings.push_back({check::imageMissing, "the bundle has no image " + inQuotes(image->name)});
    }
  }
  checkOverlaps(list, findings);
  checkTapAreas(list, findings);
  return findings;
}

double contrastOn(const Bitmap& beneath, const Color& text, ColorScheme scheme, int step) {
  std::vector<double> ratios;
  const bool solid = text.opacity >= 1;
  const double own = luminance(over(0xFF'00'00'00, text));
  for (int y = std::min(step, beneath.height) / 2; y < beneath.height; y += step) {
    for (int x = std::min(step, beneath.width) / 2; x < beneath.width; x += step) {
      const std::uint32_t ground =
          opaque(beneath.pixels[static_cast<std::size_t>(y) * beneath.width + x], scheme);
      ratios.push_back(contrast(solid ? own : luminance(over(ground, text)), luminance(ground)));
    }
  }
  if (ratios.empty()) {
    return 21;
  }
  const auto tenth = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 10);
  std::ranges::nth_element(ratios, tenth);
  return *tenth;
}

std::vector<Finding> checkContrast(const DisplayList& list,
                                   ColorScheme scheme,
                                   int scale,
                                   const Draw& draw) {
  std::vector<Finding> findings;
  for (const DisplayItem& item : list.items) {
    const TextItem* text = textOf(item);
    const Rect visible = intersect(item.frame, {0, 0, list.size.width, list.size.height});
    if (!text || visible.width <= 0 || visible.height <= 0) {
      continue;
    }
    // One pixel of every second point is enough: backgrounds under text change slowly.
    const double ratio =
        contrastOn(draw(beneath(list, item)), text->text.color.resolved(scheme), scheme, 2 * scale);
    if (ratio < kMinContrast) {
      // Rounded down, because 4.49 must not be shown as 4.5.
      findings.push_back({check::contrastLow,
                          inQuotes(text->text.text) + " has a contrast of " +
                              tenths(std::floor(ratio * 10) / 10) + " to 1"});
    }
  }
  return findings;
}

}  // namespace host
