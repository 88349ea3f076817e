#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/render/pixels/handles.h"
#include "platform/swiftui/geometry.h"

namespace platform {

/// An image that can be drawn.
struct Picture {
  /// `width * height` pixels of premultiplied sRGB, 0xAARRGGBB, rows from the top.
  std::shared_ptr<const std::uint32_t[]> pixels;
  int width = 0;
  int height = 0;
  bool opaque = false;
  /// In points.
  Size naturalSize;
  /// Refers to `pixels`. Read only.
  Handle<cairo_surface_t> surface = nullptr;

  std::span<const std::uint32_t> allPixels() const {
    return {pixels.get(), static_cast<std::size_t>(width) * static_cast<std::size_t>(height)};
  }
};

/// A picture that shares these pixels. Whether they are opaque is looked up if it is not given.
Picture makePicture(std::shared_ptr<const std::uint32_t[]> pixels,
                    int width,
                    int height,
                    Size naturalSize,
                    std::optional<bool> opaque = {});

/// A surface for drawing into these pixels, which must outlive it.
Handle<cairo_surface_t> surfaceOf(std::uint32_t* pixels, int width, int height, bool opaque);

/// Decodes a PNG file of any colour type and depth, at most 8192 pixels a side. `scale` is its
/// pixels a point. The error says what is wrong with the bytes.
std::expected<Picture, std::string> readPNG(std::string_view bytes, double scale);

/// The picture stretched to `width` by `height` pixels.
Picture scaled(const Picture& picture, int width, int height);

}  // namespace platform
