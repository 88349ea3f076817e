#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "platform/render/pixels/handles.h"
#include "platform/swiftui/geometry.h"

namespace platform {

/// A picture's pixels, ready to be drawn: premultiplied sRGB, 0xAARRGGBB, rows from the top.
struct Picture {
  /// What the pixels lie in, if the surface does not own them; it outlives the surface.
  std::shared_ptr<const void> memory = {};
  Handle<cairo_surface_t> surface;
  int width = 0;
  int height = 0;
  bool opaque = false;
  /// In points.
  Size naturalSize;

  /// Row `y`; all rows have `width` pixels.
  std::span<const std::uint32_t> row(int y) const;
};

/// A picture of its own pixels, all transparent; or of pixels to be filled in that will be opaque.
Picture makePicture(int width, int height, Size naturalSize, bool opaque = false);

/// A picture of somebody else's pixels, without copying them.
Picture wrapPicture(std::shared_ptr<const void> memory,
                    const std::uint32_t* pixels,
                    int width,
                    int height,
                    bool opaque,
                    Size naturalSize);

/// The pixels of a picture made by `makePicture`, for filling in.
std::span<std::uint32_t> pixelsOf(Picture& picture);

/// Notes whether the filled-in pixels are opaque, which makes drawing them a copy.
void finishPicture(Picture& picture);

/// The picture stretched to that many pixels.
Picture scaled(const Picture& picture, int width, int height);

}  // namespace platform
