#include "platform/render/images/picture.h"

#include <cairo/cairo.h>

#include <algorithm>

namespace platform {
namespace {

constexpr cairo_format_t format(bool opaque) {
  return opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32;
}

/// Below this ratio a bilinear filter would skip source pixels; above it, it is the quickest by far
/// and as good.
constexpr double kBilinearDownTo = 0.6;

}  // namespace

std::span<const std::uint32_t> Picture::row(int y) const {
  const auto* bytes =
      cairo_image_surface_get_data(surface.get()) +
      static_cast<std::ptrdiff_t>(y) * cairo_image_surface_get_stride(surface.get());
  return {reinterpret_cast<const std::uint32_t*>(bytes), static_cast<std::size_t>(width)};
}

Picture makePicture(int width, int height, Size naturalSize, bool opaque) {
  return {
      .surface = Handle<cairo_surface_t>(cairo_image_surface_create(format(opaque), width, height)),
      .width = width,
      .height = height,
      .opaque = opaque,
      .naturalSize = naturalSize};
}

Picture wrapPicture(std::shared_ptr<const void> memory,
                    const std::uint32_t* pixels,
                    int width,
                    int height,
                    bool opaque,
                    Size naturalSize) {
  // The surface only ever serves as a source.
  auto* bytes = reinterpret_cast<unsigned char*>(const_cast<std::uint32_t*>(pixels));
  return {.memory = std::move(memory),
          .surface = Handle<cairo_surface_t>(
              cairo_image_surface_create_for_data(bytes, format(opaque), width, height, width * 4)),
          .width = width,
          .height = height,
          .opaque = opaque,
          .naturalSize = naturalSize};
}

std::span<std::uint32_t> pixelsOf(Picture& picture) {
  auto* bytes = cairo_image_surface_get_data(picture.surface.get());
  return {reinterpret_cast<std::uint32_t*>(bytes),
          static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height)};
}

void finishPicture(Picture& picture) {
  cairo_surface_mark_dirty(picture.surface.get());
  const auto pixels = pixelsOf(picture);
  const bool opaque = std::ranges::all_of(pixels, [](auto pixel) { return pixel >> 24 == 0xFF; });
  if (opaque) {
    const std::shared_ptr<cairo_surface_t> owner(std::move(picture.surface));
    picture =
        wrapPicture(owner, pixels.data(), picture.width, picture.height, true, picture.naturalSize);
  }
}

Picture scaled(const Picture& picture, int width, int height) {
  Picture result = makePicture(width, height, picture.naturalSize, picture.opaque);
  const double x = static_cast<double>(width) / picture.width;
  const double y = static_cast<double>(height) / picture.height;
  const Handle<cairo_t> context(cairo_create(result.surface.get()));
  cairo_scale(context.get(), x, y);
  cairo_set_source_surface(context.get(), picture.surface.get(), 0, 0);
  cairo_pattern_t* source = cairo_get_source(context.get());
  // Otherwise the edges would fade into the transparent world around the picture.
  cairo_pattern_set_extend(source, CAIRO_EXTEND_PAD);
  cairo_pattern_set_filter(
      source, std::min(x, y) >= kBilinearDownTo ? CAIRO_FILTER_BILINEAR : CAIRO_FILTER_GOOD);
  cairo_set_operator(context.get(), CAIRO_OPERATOR_SOURCE);
  cairo_paint(context.get());
  cairo_surface_flush(result.surface.get());
  return result;
}

}  // namespace platform
