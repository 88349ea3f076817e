#pragma once

#include <expected>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "platform/render/images/picture_options.h"
#include "platform/render/layout/display_list.h"
#include "platform/render/pixels/bitmap.h"
#include "platform/swiftui/archived_view.h"
#include "platform/swiftui/geometry.h"

namespace platform {

/// Everything between an archived view and a picture of it, for one bundle: its typefaces and
/// pictures, the layout, the drawing.
///
/// Keeps what it has measured, shaped and scaled, so that the next picture is quicker. One renderer
/// serves one thread at a time; several may serve several at once.
class Renderer {
 public:
  virtual ~Renderer() = default;

  /// Lays the view out; see `platform::layOut`.
  virtual DisplayList layOut(const ArchivedView& view,
                             Size widget,
                             EdgeInsets contentMargins,
                             LayoutDirection direction) = 0;

  /// Draws the list into `ceil(size * scale)` pixels, frames snapped to whole pixels, clipped to
  /// the widget, source over. Fails on a size that is empty or beyond 4096 pixels a side, and on a
  /// picture of the bundle that can't be read; the error names it. A picture that the bundle does
  /// not have paints nothing and is listed in `missingImages`.
  virtual std::expected<Bitmap, std::string> rasterize(const DisplayList& list,
                                                       const PictureOptions& options) = 0;

  /// The list as a PNG file of those pixels.
  virtual std::expected<std::string, std::string> png(const DisplayList& list,
                                                      const PictureOptions& options) = 0;

  /// Pixels as such a file, and back from a PNG file of any kind; the error says what is wrong with
  /// the bytes.
  virtual std::string encodePNG(const Bitmap& bitmap) = 0;
  virtual std::expected<Bitmap, std::string> decodePNG(std::string_view bytes) = 0;

  /// The list as a self-contained SVG file: pictures embedded as PNG, texts as outlines.
  virtual std::expected<std::string, std::string> svg(const DisplayList& list,
                                                      const PictureOptions& options) = 0;

  /// Names of pictures asked for so far that the bundle does not have.
  virtual const std::set<std::string>& missingImages() const = 0;
};

/// Opens the renderer of a bundle folder (its `Assets.xcassets`, its fonts by `UIAppFonts`), with
/// the system's typefaces from `systemFonts`. No other fonts of the machine are seen, so that
/// pictures are the same everywhere. The error names the file at fault.
std::expected<std::unique_ptr<Renderer>, std::string> openRenderer(
    const std::filesystem::path& bundle, const std::filesystem::path& systemFonts);

}  // namespace platform
