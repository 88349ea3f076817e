#include "platform/render/svg/svg_drawing.h"

#include <librsvg/rsvg.h>

#include <cmath>
#include <memory>
#include <optional>
#include <utility>

#include "platform/render/pixels/bitmap.h"

namespace platform {
namespace {

std::optional<Size> naturalSize(RsvgHandle* handle) {
  double width = 0;
  double height = 0;
  if (!rsvg_handle_get_intrinsic_size_in_pixels(handle, &width, &height)) {
    gboolean hasViewBox = FALSE;
    RsvgRectangle viewBox = {};
    rsvg_handle_get_intrinsic_dimensions(
        handle, nullptr, nullptr, nullptr, nullptr, &hasViewBox, &viewBox);
    width = hasViewBox ? viewBox.width : 0;
    height = hasViewBox ? viewBox.height : 0;
  }
  return width > 0 && height > 0 ? std::optional(Size{width, height}) : std::nullopt;
}

}  // namespace

std::expected<Picture, std::string> drawSVG(std::string_view svg, double scale) {
  GError* raw = nullptr;
  const std::unique_ptr<RsvgHandle, decltype(&g_object_unref)> handle(
      rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), &raw),
      g_object_unref);
  const auto failure = [&raw] {
    const std::unique_ptr<GError, decltype(&g_error_free)> error(raw, g_error_free);
    std::string_view why = error->message;
    while (why.ends_with('\n')) {
      why.remove_suffix(1);
    }
    return std::unexpected("not an SVG that can be drawn: " + std::string(why));
  };
  if (!handle) {
    return failure();
  }
  const auto size = naturalSize(handle.get());
  if (!size) {
    return std::unexpected("an SVG without a size");
  }
  const double width = std::ceil(size->width * scale);
  const double height = std::ceil(size->height * scale);
  if (width > kMaxSide || height > kMaxSide) {
    return std::unexpected("an SVG beyond 8192 pixels a side");
  }
  const int columns = static_cast<int>(width);
  const int rows = static_cast<int>(height);
  auto pixels = std::make_shared<std::uint32_t[]>(static_cast<std::size_t>(columns) * rows);
  const auto surface = surfaceOf(pixels.get(), columns, rows, false);
  const Handle<cairo_t> context(cairo_create(surface.get()), cairo_destroy);
  const RsvgRectangle viewport{.x = 0, .y = 0, .width = width, .height = height};
  if (!rsvg_handle_render_document(handle.get(), context.get(), &viewport, &raw)) {
    return failure();
  }
  cairo_surface_flush(surface.get());
  return makePicture(std::move(pixels), columns, rows, *size);
}

}  // namespace platform

__attribute__((visibility("default"))) void glanceryDrawSVG(
    std::string_view svg, double scale, std::expected<platform::Picture, std::string>& result) {
  result = platform::drawSVG(svg, scale);
}
