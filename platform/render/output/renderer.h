#pragma once

#include <expected>
#include <set>
#include <string>
#include <string_view>

#include "platform/render/images/picture_options.h"
#include "platform/render/layout/display_list.h"
#include "platform/render/pixels/bitmap.h"
#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/geometry.h"

namespace platform {

/// Makes images of archived views, with the typefaces and pictures of one bundle.
///
/// Keeps what it has measured, shaped and scaled, which makes later images faster. Used by one
/// thread at a time; several renderers may be used at the same time.
class Renderer {
 public:
  virtual ~Renderer() = default;

  /// Lays the view out; see `platform::layOut`.
  virtual DisplayList layOut(const ArchivedView& view,
                             Size widget,
                             EdgeInsets contentMargins,
                             LayoutDirection direction) = 0;

  /// Draws the list into `ceil(size * scale)` pixels, frames snapped to whole pixels, clipped to
  /// the widget, source over. Fails if the size is empty or beyond 4096 pixels a side, or if a
  /// picture of the bundle can't be read; the error names it. A picture that the bundle does not
  /// have paints nothing and is listed in `missingImages`.
  virtual std::expected<Bitmap, std::string> rasterize(const DisplayList& list,
                                                       const PictureOptions& options) = 0;

  /// The same pixels as a PNG file.
  virtual std::expected<std::string, std::string> png(const DisplayList& list,
                                                      const PictureOptions& options) = 0;

  /// The list as an SVG file that needs no other file: pictures embedded as PNG, in the pixels that
  /// they are drawn with, once each; texts as outlines, their words in the root's label. One unit
  /// is one point. The errors are those of `rasterize`.
  virtual std::expected<std::string, std::string> svg(const DisplayList& list,
                                                      const PictureOptions& options) = 0;

  virtual std::string encodePNG(const Bitmap& bitmap) = 0;
  /// From a PNG file of any kind. The error says what is wrong with the bytes.
  virtual std::expected<Bitmap, std::string> decodePNG(std::string_view bytes) = 0;

  /// Names of requested pictures that the bundle does not have.
  virtual const std::set<std::string>& missingImages() const = 0;
};

}  // namespace platform
