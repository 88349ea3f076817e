#include "platform/render/text/text_mask.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "platform/render/text/glyph_outlines.h"

namespace platform {
namespace {

/// Twice the side of the largest picture; larger masks are not worth their memory.
constexpr double kMaxSide = 8192;

/// Glyphs may reach beyond the lines: accents upward, tails and swashes sideways.
double bleed(const BrokenText& text) {
  return text.lines.empty() ? 0
                            : std::ceil(text.size.height / static_cast<double>(text.lines.size()));
}

/// Moves what is covered into the mask.
void crop(const Coverage& coverage, TextMask& mask) {
  mask.width = std::max(0, coverage.right - coverage.left);
  mask.height = std::max(0, coverage.bottom - coverage.top);
  mask.stride = (mask.width + 3) / 4 * 4;
  mask.pixels.resize(static_cast<std::size_t>(mask.stride) * mask.height);
  for (int y = 0; y < mask.height; ++y) {
    const auto* from = coverage.pixels.data() +
                       static_cast<std::ptrdiff_t>(coverage.top + y) * coverage.width +
                       coverage.left;
    std::copy_n(
        from, mask.width, mask.pixels.data() + static_cast<std::ptrdiff_t>(y) * mask.stride);
  }
}

template <class Show>
void forEachLine(cairo_t* context,
                 const BrokenText& text,
                 const TextPlacement& placement,
                 Show show) {
  for (std::size_t i = 0; i < text.lines.size(); ++i) {
    const BrokenLine& line = text.lines[i];
    cairo_move_to(context, lineStart(line, placement), line.baseline);
    show(context, pango_layout_get_line_readonly(text.layout.get(), static_cast<int>(i)));
  }
}

}  // namespace

std::uint8_t TextMask::at(int column, int row) const {
  const bool inside = column >= x && column < x + width && row >= y && row < y + height;
  return inside ? pixels[static_cast<std::size_t>(row - y) * stride + (column - x)] : 0;
}

double lineStart(const BrokenLine& line, const TextPlacement& placement) {
  const double room = placement.boxWidth - line.width;
  return room * static_cast<double>(placement.alignment) / 2;
}

const TextMask* textMask(const BrokenText& text, const TextPlacement& placement) {
  const auto known = std::ranges::find(text.masks, placement, &TextMask::placement);
  if (known != text.masks.end()) {
    return &*known;
  }
  TextMask mask{.placement = placement};
  if (!text.lines.empty()) {
    if (pango_layout_get_unknown_glyphs_count(text.layout.get()) > 0) {
      return nullptr;
    }
    const double margin = bleed(text);
    const double scale = placement.scale;
    const double width = std::max(placement.boxWidth, text.size.width) + 2 * margin;
    const double height = text.size.height + 2 * margin;
    if (width * scale > kMaxSide || height * scale > kMaxSide) {
      return nullptr;
    }
    Coverage coverage(static_cast<int>(std::ceil(width * scale)),
                      static_cast<int>(std::ceil(height * scale)));
    // A line wider than its box starts left of it.
    const double outside = std::max(0.0, text.size.width - placement.boxWidth);
    const double left = std::ceil((margin + outside) * scale);
    const double top = std::ceil(margin * scale);
    for (std::size_t i = 0; i < text.lines.size(); ++i) {
      const BrokenLine& line = text.lines[i];
      const Pen pen{.x = left + lineStart(line, placement) * scale,
                    .baseline = top + line.baseline * scale,
                    .scale = scale};
      if (!coverLine(pango_layout_get_line_readonly(text.layout.get(), static_cast<int>(i)),
                     pen,
                     coverage)) {
        return nullptr;
      }
    }
    crop(coverage, mask);
    mask.x = coverage.left - static_cast<int>(left);
    mask.y = coverage.top - static_cast<int>(top);
  }
  // One placement a scheme and scale: whoever asks for ever new ones keeps the last few.
  if (text.masks.size() >= 4) {
    text.masks.erase(text.masks.begin());
  }
  text.masks.push_back(std::move(mask));
  return &text.masks.back();
}

void drawLines(cairo_t* context, const BrokenText& text, const TextPlacement& placement) {
  forEachLine(context, text, placement, pango_cairo_show_layout_line);
}

void addOutlines(cairo_t* context, const BrokenText& text, const TextPlacement& placement) {
  forEachLine(context, text, placement, pango_cairo_layout_line_path);
}

}  // namespace platform
