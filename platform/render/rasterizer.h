#pragma once

#include <expected>
#include <string>

#include "platform/render/bitmap.h"
#include "platform/render/corners.h"
#include "platform/render/display_list.h"
#include "platform/render/handles.h"
#include "platform/render/picture_options.h"
#include "platform/render/picture_store.h"
#include "platform/render/text_breaker.h"

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
