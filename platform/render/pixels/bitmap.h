#pragma once

#include <cstdint>
#include <vector>

namespace platform {

/// Pixels of premultiplied sRGB, each 0xAARRGGBB in the machine's byte order; rows from the top,
/// without padding: `pixels.size() == width * height`.
struct Bitmap {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels = {};
};

}  // namespace platform
