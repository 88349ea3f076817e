#pragma once

#include <expected>
#include <string>

#include "platform/render/images/picture_options.h"
#include "platform/render/images/picture_store.h"
#include "platform/render/layout/display_list.h"
#include "platform/render/paint/corners.h"
#include "platform/render/pixels/bitmap.h"
#include "platform/render/pixels/handles.h"
#include "platform/render/text/text_breaker.h"

namespace platform {

/// Paints display lists into bitmaps, source over, frames on whole pixels.
class Rasterizer {
 public:
  Rasterizer(TextBreaker& texts, PictureStore& pictures) : texts_(texts), pictures_(pictures) {}

  /// Paints into the bitmap, which is made as large as the picture and keeps its memory if it
  /// already is. The errors are those of `Renderer::rasterize`; what the bitmap then holds is
  /// unspecified.
  std::expected<void, std::string> paint(const DisplayList& list,
                                         const PictureOptions& options,
                                         Bitmap& bitmap);

 private:
  TextBreaker& texts_;
  PictureStore& pictures_;
  CornerClip corners_;
};

}  // namespace platform
