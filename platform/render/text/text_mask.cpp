#include "platform/render/text/text_mask.h"

#include <cairo/cairo-ft.h>
#include <freetype/ftoutln.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "platform/render/pixels/bitmap.h"

namespace platform {
namespace {

/// Placements kept for a text: two schemes at two scales.
constexpr std::size_t kMostMasks = 4;

/// Coverage of pixels, 0 to 255, and the rectangle that has any.
struct Coverage {
  Coverage(int columns, int rows)
      : width(columns), height(rows), pixels(static_cast<std::size_t>(columns) * rows) {}

  std::uint8_t* row(int y) { return pixels.data() + static_cast<std::ptrdiff_t>(y) * width; }

  int width;
  int height;
  std::vector<std::uint8_t> pixels;
  int left = std::numeric_limits<int>::max();
  int top = std::numeric_limits<int>::max();
  int right = 0;
  int bottom = 0;
};

/// Where the next glyph is drawn, in pixels from the coverage's top left.
struct Pen {
  double x = 0;
  double baseline = 0;
  /// Pixels a point.
  double scale = 1;
};

/// Receives the covered spans of one row from FreeType, which counts rows upward.
void addSpans(int y, int count, const FT_Span* spans, void* target) {
  Coverage& coverage = *static_cast<Coverage*>(target);
  const int row = -1 - y;
  if (row < 0 || row >= coverage.height) {
    return;
  }
  std::uint8_t* pixels = coverage.row(row);
  for (int i = 0; i < count; ++i) {
    const int begin = std::max<int>(spans[i].x, 0);
    const int end = std::min<int>(spans[i].x + spans[i].len, coverage.width);
    if (begin >= end) {
      continue;
    }
    coverage.left = std::min(coverage.left, begin);
    coverage.right = std::max(coverage.right, end);
    coverage.top = std::min(coverage.top, row);
    coverage.bottom = std::max(coverage.bottom, row + 1);
    const int added = spans[i].coverage;
    for (int x = begin; x < end; ++x) {
      // Where two glyphs overlap, each covers its share of what the other leaves open.
      pixels[x] = static_cast<std::uint8_t>(added + pixels[x] - (added * pixels[x] + 127) / 255);
    }
  }
}

/// Pixels in FreeType's 26.6 fixed point.
FT_Pos fixed(double pixels) {
  return static_cast<FT_Pos>(std::lround(pixels * 64));
}

/// False if a glyph has no outline.
bool addRun(const PangoGlyphItem& run, Pen pen, Coverage& coverage) {
  cairo_scaled_font_t* font =
      pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(run.item->analysis.font));
  FT_Face face = font ? cairo_ft_scaled_font_lock_face(font) : nullptr;
  if (!face) {
    return false;
  }
  const std::unique_ptr<cairo_scaled_font_t, decltype(&cairo_ft_scaled_font_unlock_face)> locked(
      font, cairo_ft_scaled_font_unlock_face);
  if (!FT_IS_SCALABLE(face) || FT_HAS_COLOR(face)) {
    return false;
  }
  cairo_matrix_t matrixOfFont;
  cairo_scaled_font_get_font_matrix(font, &matrixOfFont);
  const double emPixels = matrixOfFont.xx * pen.scale;
  // From font units to 26.6 pixels, in 16.16 fixed point.
  const auto factor =
      static_cast<FT_Fixed>(std::lround(emPixels * 64 * 65536 / face->units_per_EM));
  const FT_Matrix matrix{.xx = factor, .xy = 0, .yx = 0, .yy = factor};
  const double unit = pen.scale / PANGO_SCALE;
  pen.baseline -= run.y_offset * unit;
  for (int i = 0; i < run.glyphs->num_glyphs; ++i) {
    const PangoGlyphInfo& glyph = run.glyphs->glyphs[i];
    if (glyph.glyph & PANGO_GLYPH_UNKNOWN_FLAG) {
      return false;
    }
    if (glyph.glyph != PANGO_GLYPH_EMPTY) {
      constexpr auto kFlags = FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP;
      if (FT_Load_Glyph(face, glyph.glyph, kFlags) != 0 ||
          face->glyph->format != FT_GLYPH_FORMAT_OUTLINE) {
        return false;
      }
      FT_Outline& outline = face->glyph->outline;
      FT_Outline_Transform(&outline, &matrix);
      FT_Outline_Translate(&outline,
                           fixed(pen.x + glyph.geometry.x_offset * unit),
                           fixed(-pen.baseline - glyph.geometry.y_offset * unit));
      FT_Raster_Params parameters = {};
      parameters.flags = FT_RASTER_FLAG_AA | FT_RASTER_FLAG_DIRECT;
      parameters.gray_spans = addSpans;
      parameters.user = &coverage;
      if (FT_Outline_Render(face->glyph->library, &outline, &parameters) != 0) {
        return false;
      }
    }
    pen.x += glyph.geometry.width * unit;
  }
  return true;
}

PangoLayoutLine* lineAt(const BrokenText& text, std::size_t index) {
  return pango_layout_get_line_readonly(text.layout.get(), static_cast<int>(index));
}

/// The mask without its placement; nothing where `textMask` is null.
std::optional<TextMask> makeMask(const BrokenText& text, const TextPlacement& placement) {
  if (text.lines.empty()) {
    return TextMask();
  }
  // Glyphs may reach beyond the lines: accents upward, tails and swashes sideways.
  const double margin = std::ceil(text.size.height / static_cast<double>(text.lines.size()));
  const double scale = placement.scale;
  const double width = (std::max(placement.boxWidth, text.size.width) + 2 * margin) * scale;
  const double height = (text.size.height + 2 * margin) * scale;
  if (width > kMaxSide || height > kMaxSide) {
    return std::nullopt;
  }
  Coverage coverage(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
  // A line wider than its box starts left of it.
  const double outside = std::max(0.0, text.size.width - placement.boxWidth);
  const double left = std::ceil((margin + outside) * scale);
  const double top = std::ceil(margin * scale);
  for (std::size_t i = 0; i < text.lines.size(); ++i) {
    Pen pen{.x = left + lineStart(text.lines[i], placement) * scale,
            .baseline = top + text.lines[i].baseline * scale,
            .scale = scale};
    for (const GSList* node = lineAt(text, i)->runs; node; node = node->next) {
      const auto& run = *static_cast<const PangoGlyphItem*>(node->data);
      if (!addRun(run, pen, coverage)) {
        return std::nullopt;
      }
      pen.x += pango_glyph_string_get_width(run.glyphs) * scale / PANGO_SCALE;
    }
  }
  TextMask mask{.x = coverage.left - static_cast<int>(left),
                .y = coverage.top - static_cast<int>(top),
                .width = std::max(0, coverage.right - coverage.left),
                .height = std::max(0, coverage.bottom - coverage.top)};
  mask.stride = (mask.width + 3) / 4 * 4;
  mask.pixels.resize(static_cast<std::size_t>(mask.stride) * mask.height);
  for (int y = 0; y < mask.height; ++y) {
    std::copy_n(coverage.row(coverage.top + y) + coverage.left,
                mask.width,
                mask.pixels.data() + static_cast<std::ptrdiff_t>(y) * mask.stride);
  }
  return mask;
}

}  // namespace

double lineStart(const BrokenLine& line, const TextPlacement& placement) {
  return (placement.boxWidth - line.width) * static_cast<double>(placement.alignment) / 2;
}

const TextMask* textMask(const BrokenText& text, const TextPlacement& placement) {
  const auto known = std::ranges::find(text.masks, placement, &TextMask::placement);
  if (known != text.masks.end()) {
    return &*known;
  }
  auto mask = makeMask(text, placement);
  if (!mask) {
    return nullptr;
  }
  mask->placement = placement;
  if (text.masks.size() >= kMostMasks) {
    text.masks.erase(text.masks.begin());
  }
  return &text.masks.emplace_back(*std::move(mask));
}

void drawLines(cairo_t* context, const BrokenText& text, const TextPlacement& placement) {
  for (std::size_t i = 0; i < text.lines.size(); ++i) {
    cairo_move_to(context, lineStart(text.lines[i], placement), text.lines[i].baseline);
    pango_cairo_show_layout_line(context, lineAt(text, i));
  }
}

}  // namespace platform
