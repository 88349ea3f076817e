#include "platform/render/paint/rasterizer.h"

#include <cairo/cairo.h>

#include <algorithm>
#include <cstring>

#include "platform/render/pixels/pixel_grid.h"
#include "platform/render/text/text_lock.h"
#include "platform/render/text/text_mask.h"

namespace platform {
namespace {

/// One picture being painted.
class Canvas {
 public:
  Canvas(Bitmap& bitmap, const PictureOptions& options, TextBreaker& texts, PictureStore& pictures)
      : bitmap_(bitmap),
        options_(options),
        texts_(texts),
        pictures_(pictures),
        surface_(cairo_image_surface_create_for_data(
            reinterpret_cast<unsigned char*>(bitmap.pixels.data()),
            CAIRO_FORMAT_ARGB32,
            bitmap.width,
            bitmap.height,
            bitmap.width * 4)),
        context_(cairo_create(surface_.get())) {}
  ~Canvas() { cairo_surface_finish(surface_.get()); }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  std::expected<void, std::string> paint(const DisplayItem& item) {
    const PixelRect frame = snapped(item.frame, options_.scale);
    if (const auto* image = std::get_if<ImageItem>(&item.content)) {
      return paintPicture(image->name, frame);
    }
    if (const auto* text = std::get_if<TextItem>(&item.content)) {
      paintText(text->text, item.frame.size(), frame);
      return {};
    }
    setColor(std::get<FillItem>(item.content).color);
    cairo_rectangle(context_.get(), frame.x, frame.y, frame.width, frame.height);
    cairo_fill(context_.get());
    return {};
  }

 private:
  void setColor(const Color& color) {
    cairo_set_source_rgba(context_.get(), color.red, color.green, color.blue, color.opacity);
  }

  bool isVisible(const PixelRect& frame) const {
    return frame.width > 0 && frame.height > 0 && frame.x < bitmap_.width &&
           frame.y < bitmap_.height && frame.x + frame.width > 0 && frame.y + frame.height > 0;
  }

  std::expected<void, std::string> paintPicture(const std::string& name, const PixelRect& frame) {
    if (!isVisible(frame)) {
      // Still looked up, so that a missing or unreadable picture is not overlooked.
      const auto looked = pictures_.picture(name, options_.scheme, options_.scale);
      return looked ? std::expected<void, std::string>{} : std::unexpected(looked.error());
    }
    const auto picture =
        pictures_.stretched(name, options_.scheme, options_.scale, frame.width, frame.height);
    if (!picture) {
      return std::unexpected(picture.error());
    }
    if (*picture && (*picture)->opaque) {
      copy(**picture, frame);
    } else if (*picture) {
      cairo_set_source_surface(context_.get(), (*picture)->surface.get(), frame.x, frame.y);
      cairo_pattern_set_filter(cairo_get_source(context_.get()), CAIRO_FILTER_NEAREST);
      cairo_rectangle(context_.get(), frame.x, frame.y, frame.width, frame.height);
      cairo_fill(context_.get());
    }
    return {};
  }

  /// Row by row: the drawing library would look at each pixel of an opaque picture.
  void copy(const Picture& picture, const PixelRect& frame) {
    cairo_surface_flush(surface_.get());
    const int left = std::max(frame.x, 0);
    const int right = std::min(frame.x + frame.width, bitmap_.width);
    const int bottom = std::min(frame.y + frame.height, bitmap_.height);
    for (int y = std::max(frame.y, 0); y < bottom; ++y) {
      const auto from = picture.row(y - frame.y).subspan(left - frame.x, right - left);
      std::memcpy(bitmap_.pixels.data() + static_cast<std::ptrdiff_t>(y) * bitmap_.width + left,
                  from.data(),
                  from.size_bytes());
    }
    cairo_surface_mark_dirty(surface_.get());
  }

  void paintText(const ArchivedText& text, Size box, const PixelRect& frame) {
    const TextLock lock;
    const auto broken = texts_.broken(text, {.width = box.width, .height = box.height});
    const TextPlacement placement{
        .scale = options_.scale, .boxWidth = box.width, .alignment = text.alignment};
    setColor(text.color);
    const TextMask* mask = textMask(*broken, placement);
    if (!mask) {
      cairo_save(context_.get());
      cairo_translate(context_.get(), frame.x, frame.y);
      cairo_scale(context_.get(), options_.scale, options_.scale);
      drawLines(context_.get(), *broken, placement);
      cairo_restore(context_.get());
    } else if (!mask->pixels.empty()) {
      // Only ever read.
      auto* pixels = const_cast<unsigned char*>(mask->pixels.data());
      const Handle<cairo_surface_t> surface(cairo_image_surface_create_for_data(
          pixels, CAIRO_FORMAT_A8, mask->width, mask->height, mask->stride));
      cairo_mask_surface(context_.get(), surface.get(), frame.x + mask->x, frame.y + mask->y);
    }
  }

  Bitmap& bitmap_;
  const PictureOptions& options_;
  TextBreaker& texts_;
  PictureStore& pictures_;
  Handle<cairo_surface_t> surface_;
  Handle<cairo_t> context_;
};

}  // namespace

std::expected<void, std::string> Rasterizer::paint(const DisplayList& list,
                                                   const PictureOptions& options,
                                                   Bitmap& bitmap) {
  if (auto checked = checkPicture(list.size, options); !checked) {
    return checked;
  }
  bitmap.width = pixelLength(list.size.width, options.scale);
  bitmap.height = pixelLength(list.size.height, options.scale);
  bitmap.pixels.assign(static_cast<std::size_t>(bitmap.width) * bitmap.height, 0);
  {
    Canvas canvas(bitmap, options, texts_, pictures_);
    for (const DisplayItem& item : list.items) {
      if (auto painted = canvas.paint(item); !painted) {
        return painted;
      }
    }
  }
  corners_.apply(bitmap, options.cornerRadius * options.scale);
  return {};
}

}  // namespace platform
