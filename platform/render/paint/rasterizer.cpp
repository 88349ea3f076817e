#include "platform/render/paint/rasterizer.h"

#include <cairo/cairo-svg.h>
#include <cairo/cairo.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string_view>
#include <utility>

#include "platform/render/images/picture.h"
#include "platform/render/pixels/handles.h"
#include "platform/render/text/text_mask.h"

namespace platform {
namespace {

constexpr double kMaxPictureSide = kMaxSide / 2;

using Result = std::expected<void, std::string>;

Result check(Size size, const PictureOptions& options) {
  std::ostringstream error;
  // Negated comparisons also refuse NaN.
  if (!(options.scale >= 1 && options.scale <= 4)) {
    error << "a picture has 1 to 4 pixels a point, not " << options.scale;
  } else if (!(size.width > 0 && size.height > 0)) {
    error << "a picture can't be " << size.width << " by " << size.height << " points";
  } else if (size.width * options.scale > kMaxPictureSide ||
             size.height * options.scale > kMaxPictureSide) {
    error << "a picture of " << size.width << " by " << size.height << " points at "
          << options.scale << " pixels a point is beyond " << kMaxPictureSide << " pixels a side";
  } else if (!(options.cornerRadius >= 0)) {
    error << "a corner radius can't be " << options.cornerRadius;
  } else {
    return {};
  }
  return std::unexpected(error.str());
}

/// The pixels of a length: a part of a pixel counts whole, a rounding error does not.
int pixelLength(double points, double scale) {
  constexpr double kRoundingError = 1e-6;
  return static_cast<int>(std::ceil(points * scale - kRoundingError));
}

/// Paints onto a surface whose unit is a pixel.
class Canvas {
 public:
  Canvas(cairo_surface_t* surface,
         const PictureOptions& options,
         TextBreaker& texts,
         PictureStore& pictures)
      : isBitmap_(cairo_surface_get_type(surface) == CAIRO_SURFACE_TYPE_IMAGE),
        options_(options),
        texts_(texts),
        pictures_(pictures),
        context_(cairo_create(surface), cairo_destroy) {}

  cairo_t* context() { return context_.get(); }

  Result paint(const DisplayItem& item) {
    const PixelRect frame = snapped(item.frame, options_.scale);
    if (const auto* image = std::get_if<ImageItem>(&item.content)) {
      return paintPicture(image->name, frame);
    }
    if (const auto* text = std::get_if<TextItem>(&item.content)) {
      paintText(text->text, item.frame.size(), frame);
      return {};
    }
    setColor(std::get<FillItem>(item.content).color);
    cairo_rectangle(context(), frame.x, frame.y, frame.width, frame.height);
    cairo_fill(context());
    return {};
  }

 private:
  void setColor(const Color& color) {
    cairo_set_source_rgba(context(), color.red, color.green, color.blue, color.opacity);
  }

  Result paintPicture(const std::string& name, const PixelRect& frame) {
    const bool isEmpty = frame.width <= 0 || frame.height <= 0;
    // Loads a picture in an empty frame too, so that a missing or unreadable one is reported.
    const auto picture =
        isEmpty
            ? pictures_.picture(name, options_.scheme, options_.scale)
            : pictures_.stretched(name, options_.scheme, options_.scale, frame.width, frame.height);
    if (!picture) {
      return std::unexpected(picture.error());
    }
    if (*picture && !isEmpty) {
      cairo_set_source_surface(context(), (*picture)->surface.get(), frame.x, frame.y);
      cairo_pattern_set_filter(cairo_get_source(context()), CAIRO_FILTER_NEAREST);
      cairo_paint(context());
    }
    return {};
  }

  void paintText(const ArchivedText& text, Size box, const PixelRect& frame) {
    const TextLock lock;
    const auto broken = texts_.broken(text, {.width = box.width, .height = box.height});
    const TextPlacement placement{
        .scale = options_.scale, .boxWidth = box.width, .alignment = text.alignment};
    setColor(text.color);
    const TextMask* mask = isBitmap_ ? textMask(*broken, placement) : nullptr;
    if (!mask) {
      cairo_save(context());
      cairo_translate(context(), frame.x, frame.y);
      cairo_scale(context(), options_.scale, options_.scale);
      drawLines(context(), *broken, placement);
      cairo_restore(context());
    } else if (!mask->pixels.empty()) {
      // Only read.
      auto* pixels = const_cast<unsigned char*>(mask->pixels.data());
      const Handle<cairo_surface_t> surface(
          cairo_image_surface_create_for_data(
              pixels, CAIRO_FORMAT_A8, mask->width, mask->height, mask->stride),
          cairo_surface_destroy);
      cairo_mask_surface(context(), surface.get(), frame.x + mask->x, frame.y + mask->y);
    }
  }

  bool isBitmap_;
  const PictureOptions& options_;
  TextBreaker& texts_;
  PictureStore& pictures_;
  Handle<cairo_t> context_;
};

/// The words of the texts as an attribute for screen readers.
std::string label(const DisplayList& list) {
  std::string label = " role=\"img\" aria-label=\"";
  std::string_view separator;
  for (const DisplayItem& item : list.items) {
    const auto* text = std::get_if<TextItem>(&item.content);
    label += text ? std::exchange(separator, " ") : "";
    for (const char c : text ? text->text.text : "") {
      // XML can't express the other control characters.
      label += c == '&'                              ? "&amp;"
               : c == '<'                            ? "&lt;"
               : c == '"'                            ? "&quot;"
               : static_cast<unsigned char>(c) < ' ' ? " "
                                                     : std::string(1, c);
    }
  }
  return label + '"';
}

}  // namespace

PixelRect snapped(const Rect& frame, double scale) {
  const auto nearest = [scale](double points) {
    // The range of the drawing library's fixed-point coordinates.
    constexpr double kFarthest = 32000;
    return static_cast<int>(std::lround(std::clamp(points * scale, -kFarthest, kFarthest)));
  };
  const int left = nearest(frame.x);
  const int top = nearest(frame.y);
  return {.x = left,
          .y = top,
          .width = nearest(frame.x + frame.width) - left,
          .height = nearest(frame.y + frame.height) - top};
}

Result Rasterizer::paint(const DisplayList& list, const PictureOptions& options, Bitmap& bitmap) {
  if (auto checked = check(list.size, options); !checked) {
    return checked;
  }
  bitmap.width = pixelLength(list.size.width, options.scale);
  bitmap.height = pixelLength(list.size.height, options.scale);
  bitmap.pixels.assign(static_cast<std::size_t>(bitmap.width) * bitmap.height, 0);
  const auto surface = surfaceOf(bitmap.pixels.data(), bitmap.width, bitmap.height, false);
  Canvas canvas(surface.get(), options, texts_, pictures_);
  for (const DisplayItem& item : list.items) {
    if (auto painted = canvas.paint(item); !painted) {
      return painted;
    }
  }
  cairo_surface_flush(surface.get());
  corners_.apply(bitmap, options.cornerRadius * options.scale);
  return {};
}

std::expected<std::string, std::string> Rasterizer::svg(const DisplayList& list,
                                                        const PictureOptions& options) {
  if (auto checked = check(list.size, options); !checked) {
    return std::unexpected(std::move(checked).error());
  }
  // The surface reads the typefaces until it is finished.
  const TextLock lock;
  std::string file;
  const auto write = [](void* target, const unsigned char* bytes, unsigned int count) {
    static_cast<std::string*>(target)->append(reinterpret_cast<const char*>(bytes), count);
    return CAIRO_STATUS_SUCCESS;
  };
  const Handle<cairo_surface_t> surface(
      cairo_svg_surface_create_for_stream(write, &file, list.size.width, list.size.height),
      cairo_surface_destroy);
  cairo_svg_surface_set_document_unit(surface.get(), CAIRO_SVG_UNIT_PX);
  {
    Canvas canvas(surface.get(), options, texts_, pictures_);
    if (options.cornerRadius > 0) {
      for (const Point& point : roundedRectangle(list.size, options.cornerRadius)) {
        cairo_line_to(canvas.context(), point.x, point.y);
      }
      cairo_clip(canvas.context());
    }
    cairo_scale(canvas.context(), 1 / options.scale, 1 / options.scale);
    for (const DisplayItem& item : list.items) {
      if (auto painted = canvas.paint(item); !painted) {
        return std::unexpected(std::move(painted).error());
      }
    }
  }
  cairo_surface_finish(surface.get());
  if (const auto status = cairo_surface_status(surface.get()); status != CAIRO_STATUS_SUCCESS) {
    return std::unexpected("can't write SVG: " + std::string(cairo_status_to_string(status)));
  }
  constexpr std::string_view kRoot = "<svg";
  return file.insert(file.find(kRoot) + kRoot.size(), label(list));
}

}  // namespace platform
