#include "platform/render/images/picture.h"

#include <cairo/cairo.h>
#include <spng.h>

#include <algorithm>
#include <utility>

#include "platform/render/pixels/bitmap.h"

namespace platform {
namespace {

/// Below this ratio a bilinear filter would skip source pixels. Above it, it is as good as the
/// others and much faster.
constexpr double kSmallestBilinearRatio = 0.6;

/// From the file's R, G, B, A bytes to a premultiplied pixel.
std::uint32_t premultiplied(std::uint32_t rgba) {
  const std::uint32_t alpha = rgba >> 24;
  const auto channel = [&](int shift) {
    const std::uint32_t product = ((rgba >> shift) & 0xFF) * alpha + 128;
    return (product + (product >> 8)) >> 8;
  };
  return alpha << 24 | channel(0) << 16 | channel(8) << 8 | channel(16);
}

}  // namespace

Handle<cairo_surface_t> surfaceOf(std::uint32_t* pixels, int width, int height, bool opaque) {
  return Handle<cairo_surface_t>(
      cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(pixels),
                                          opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32,
                                          width,
                                          height,
                                          width * 4),
      cairo_surface_destroy);
}

Picture makePicture(std::shared_ptr<const std::uint32_t[]> pixels,
                    int width,
                    int height,
                    Size naturalSize,
                    std::optional<bool> opaque) {
  Picture picture{
      .pixels = std::move(pixels), .width = width, .height = height, .naturalSize = naturalSize};
  picture.opaque = opaque ? *opaque : std::ranges::all_of(picture.allPixels(), [](auto pixel) {
    return pixel >> 24 == 0xFF;
  });
  // The surface is only a source.
  picture.surface =
      surfaceOf(const_cast<std::uint32_t*>(picture.pixels.get()), width, height, picture.opaque);
  return picture;
}

std::expected<Picture, std::string> readPNG(std::string_view bytes, double scale) {
  const std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> context(spng_ctx_new(0), spng_ctx_free);
  const auto failure = [](int code) {
    return std::unexpected("not a PNG that can be read: " + std::string(spng_strerror(code)));
  };
  spng_set_image_limits(context.get(), kMaxSide, kMaxSide);
  spng_set_png_buffer(context.get(), bytes.data(), bytes.size());
  spng_ihdr header = {};
  if (const int code = spng_get_ihdr(context.get(), &header); code != 0) {
    return failure(code);
  }
  const std::size_t count = static_cast<std::size_t>(header.width) * header.height;
  auto pixels = std::make_shared_for_overwrite<std::uint32_t[]>(count);
  if (const int code = spng_decode_image(
          context.get(), pixels.get(), 4 * count, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
      code != 0) {
    return failure(code);
  }
  for (std::uint32_t& pixel : std::span(pixels.get(), count)) {
    pixel = premultiplied(pixel);
  }
  return makePicture(std::move(pixels),
                     static_cast<int>(header.width),
                     static_cast<int>(header.height),
                     {header.width / scale, header.height / scale});
}

Picture scaled(const Picture& picture, int width, int height) {
  auto pixels = std::make_shared_for_overwrite<std::uint32_t[]>(static_cast<std::size_t>(width) *
                                                                static_cast<std::size_t>(height));
  const double x = static_cast<double>(width) / picture.width;
  const double y = static_cast<double>(height) / picture.height;
  const auto target = surfaceOf(pixels.get(), width, height, picture.opaque);
  const Handle<cairo_t> context(cairo_create(target.get()), cairo_destroy);
  cairo_scale(context.get(), x, y);
  cairo_set_source_surface(context.get(), picture.surface.get(), 0, 0);
  cairo_pattern_t* source = cairo_get_source(context.get());
  // Keeps the edges from fading into transparency.
  cairo_pattern_set_extend(source, CAIRO_EXTEND_PAD);
  cairo_pattern_set_filter(
      source, std::min(x, y) >= kSmallestBilinearRatio ? CAIRO_FILTER_BILINEAR : CAIRO_FILTER_GOOD);
  cairo_set_operator(context.get(), CAIRO_OPERATOR_SOURCE);
  cairo_paint(context.get());
  cairo_surface_flush(target.get());
  return makePicture(std::move(pixels), width, height, picture.naturalSize, picture.opaque);
}

}  // namespace platform
