#pragma once

#include <expected>
#include <string>

#include "platform/render/images/picture_options.h"
#include "platform/render/images/picture_store.h"
#include "platform/render/layout/display_list.h"
#include "platform/render/paint/corners.h"
#include "platform/render/pixels/bitmap.h"
#include "platform/render/text/text_breaker.h"

namespace platform {

/// A frame on whole pixels.
struct PixelRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

/// Each edge on the nearest pixel boundary, so that frames that touch in points touch in pixels.
/// Edges far outside any widget are moved to within 32,000 pixels of its corner.
PixelRect snapped(const Rect& frame, double scale);

/// Paints display lists, source over, frames on whole pixels.
class Rasterizer {
 public:
  Rasterizer(TextBreaker& texts, PictureStore& pictures) : texts_(texts), pictures_(pictures) {}

  /// Paints into the bitmap, which is resized to the picture and keeps its memory. The errors are
  /// those of `Renderer::rasterize`; after one, the bitmap's content is unspecified.
  std::expected<void, std::string> paint(const DisplayList& list,
                                         const PictureOptions& options,
                                         Bitmap& bitmap);

  /// Paints into a self-contained SVG file; see `Renderer::svg`.
  std::expected<std::string, std::string> svg(const DisplayList& list,
                                              const PictureOptions& options);

 private:
  TextBreaker& texts_;
  PictureStore& pictures_;
  CornerClip corners_;
};

}  // namespace platform
