#include "platform/render/text/glyph_outlines.h"

#include <cairo/cairo-ft.h>
#include <freetype/ftoutln.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>

namespace platform {
namespace {

/// A font's face for as long as its glyphs are read; the drawing library owns it.
class LockedFace {
 public:
  explicit LockedFace(PangoFont* font)
      : scaled_(pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(font))),
        face_(scaled_ ? cairo_ft_scaled_font_lock_face(scaled_) : nullptr) {}
  ~LockedFace() {
    if (face_) {
      cairo_ft_scaled_font_unlock_face(scaled_);
    }
  }
  LockedFace(const LockedFace&) = delete;
  LockedFace& operator=(const LockedFace&) = delete;

  FT_Face face() const { return face_; }
  /// The size of the em in points, with the variations that the face has been set to.
  double size() const {
    cairo_matrix_t matrix;
    cairo_scaled_font_get_font_matrix(scaled_, &matrix);
    return matrix.xx;
  }

 private:
  cairo_scaled_font_t* scaled_;
  FT_Face face_;
};

/// Receives the covered spans of one row; FreeType counts rows upward.
void cover(int y, int count, const FT_Span* spans, void* target) {
  Coverage& coverage = *static_cast<Coverage*>(target);
  const int row = -1 - y;
  if (row < 0 || row >= coverage.height) {
    return;
  }
  std::uint8_t* pixels = coverage.pixels.data() + static_cast<std::ptrdiff_t>(row) * coverage.width;
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

/// 26.6 fixed point, FreeType's unit of places.
FT_Pos fixed(double pixels) {
  return static_cast<FT_Pos>(std::lround(pixels * 64));
}

bool coverRun(const PangoGlyphItem& run, Pen pen, Coverage& coverage) {
  const LockedFace font(run.item->analysis.font);
  FT_Face face = font.face();
  if (!face || !FT_IS_SCALABLE(face) || FT_HAS_COLOR(face)) {
    return false;
  }
  const double emPixels = font.size() * pen.scale;
  // From font units to 26.6 pixels, itself in 16.16 fixed point.
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
      parameters.gray_spans = cover;
      parameters.user = &coverage;
      if (FT_Outline_Render(face->glyph->library, &outline, &parameters) != 0) {
        return false;
      }
    }
    pen.x += glyph.geometry.width * unit;
  }
  return true;
}

}  // namespace

bool coverLine(const PangoLayoutLine* line, Pen pen, Coverage& coverage) {
  for (const GSList* node = line->runs; node; node = node->next) {
    const auto& run = *static_cast<const PangoGlyphItem*>(node->data);
    if (!coverRun(run, pen, coverage)) {
      return false;
    }
    pen.x += pango_glyph_string_get_width(run.glyphs) * pen.scale / PANGO_SCALE;
  }
  return true;
}

}  // namespace platform
