#include "platform/render/images/png_reader.h"

#include <spng.h>

#include <memory>

namespace platform {
namespace {

constexpr std::uint32_t kMaxSide = 8192;

struct FreeContext {
  void operator()(spng_ctx* context) const { spng_ctx_free(context); }
};

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

std::expected<Picture, std::string> readPNG(std::string_view bytes, double scale) {
  const std::unique_ptr<spng_ctx, FreeContext> context(spng_ctx_new(0));
  const auto failure = [](int code) {
    return std::unexpected("not a PNG that can be read: " + std::string(spng_strerror(code)));
  };
  spng_set_image_limits(context.get(), kMaxSide, kMaxSide);
  spng_set_png_buffer(context.get(), bytes.data(), bytes.size());
  spng_ihdr header = {};
  if (const int code = spng_get_ihdr(context.get(), &header); code != 0) {
    return failure(code);
  }
  Picture picture = makePicture(static_cast<int>(header.width),
                                static_cast<int>(header.height),
                                {header.width / scale, header.height / scale});
  const auto pixels = pixelsOf(picture);
  if (const int code = spng_decode_image(
          context.get(), pixels.data(), pixels.size_bytes(), SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
      code != 0) {
    return failure(code);
  }
  for (std::uint32_t& pixel : pixels) {
    pixel = premultiplied(pixel);
  }
  finishPicture(picture);
  return picture;
}

}  // namespace platform
