#include "platform/render/svg/svg_drawing.h"

#include <librsvg/rsvg.h>

#include <cmath>
#include <memory>
#include <optional>

namespace platform {
namespace {

constexpr double kMaxSide = 8192;

struct Unref {
  void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
};
struct FreeError {
  void operator()(GError* error) const { g_error_free(error); }
};

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
  const std::unique_ptr<RsvgHandle, Unref> handle(
      rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), &raw));
  const auto failure = [&raw] {
    const std::unique_ptr<GError, FreeError> error(raw);
    return std::unexpected("not an SVG that can be drawn: " + std::string(error->message));
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
  Picture picture = makePicture(static_cast<int>(width), static_cast<int>(height), *size);
  const Handle<cairo_t> context(cairo_create(picture.surface.get()));
  const RsvgRectangle viewport{.x = 0, .y = 0, .width = width, .height = height};
  if (!rsvg_handle_render_document(handle.get(), context.get(), &viewport, &raw)) {
    return failure();
  }
  cairo_surface_flush(picture.surface.get());
  finishPicture(picture);
  return picture;
}

}  // namespace platform
