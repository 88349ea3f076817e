#include "host/sheet/picture_difference.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace host {

using platform::Bitmap;

namespace {

constexpr std::uint32_t kDiffering = 0xFF'E0'00'30;

int channel(std::uint32_t pixel, int shift) {
  return static_cast<int>((pixel >> shift) & 0xFF);
}

/// On white, as light as paper that shines through.
std::uint32_t faint(std::uint32_t pixel) {
  const int uncovered = 255 - channel(pixel, 24);
  const int grey = (channel(pixel, 16) * 2 + channel(pixel, 8) * 5 + channel(pixel, 0)) / 8;
  const auto shade = static_cast<std::uint32_t>(255 - (255 - grey - uncovered) / 4);
  return 0xFF'00'00'00 | shade << 16 | shade << 8 | shade;
}

}  // namespace

PixelDifference compare(const Bitmap& expected, const Bitmap& actual) {
  PixelDifference difference;
  std::uint64_t sum = 0;
  for (std::size_t index = 0; index < expected.pixels.size(); ++index) {
    const std::uint32_t one = expected.pixels[index];
    const std::uint32_t other = actual.pixels[index];
    if (one == other) {
      continue;
    }
    ++difference.pixels;
    for (const int shift : {0, 8, 16, 24}) {
      const int distance = std::abs(channel(one, shift) - channel(other, shift));
      difference.largest = std::max(difference.largest, distance);
      sum += static_cast<std::uint64_t>(distance);
    }
  }
  if (sum > 0) {
    difference.mean = static_cast<double>(sum) / static_cast<double>(4 * expected.pixels.size());
  }
  return difference;
}

Bitmap differencePicture(const Bitmap& expected, const Bitmap& actual) {
  Bitmap picture{.width = expected.width, .height = expected.height};
  picture.pixels.reserve(expected.pixels.size());
  for (std::size_t index = 0; index < expected.pixels.size(); ++index) {
    const bool same = expected.pixels[index] == actual.pixels[index];
    picture.pixels.push_back(same ? faint(expected.pixels[index]) : kDiffering);
  }
  return picture;
}

}  // namespace host
