#pragma once

#include <cstdint>
#include <vector>

namespace platform {

/// The longest side in pixels of anything that is drawn: twice that of the largest widget at the
/// largest scale. Larger bitmaps are refused, as they are not worth their memory.
inline constexpr int kMaxSide = 8192;

/// Pixels of premultiplied sRGB, each 0xAARRGGBB in the machine's byte order; rows from the top,
/// without padding: `pixels.size() == width * height`.
struct Bitmap {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels = {};
};

}  // namespace platform
