#pragma once

#include <cstddef>

#include "platform/render/pixels/bitmap.h"

namespace host {

/// How far two pictures of the same size are from each other. Channels, opacity among them, count
/// from 0 to 255, premultiplied.
struct PixelDifference {
  /// Pixels of which any channel differs.
  std::size_t pixels = 0;
  /// The largest difference of any channel.
  int largest = 0;
  /// Over all channels of all pixels.
  double mean = 0;
};

PixelDifference compare(const platform::Bitmap& expected, const platform::Bitmap& actual);

/// What differs in red, over the expected picture's faint grey image.
platform::Bitmap differencePicture(const platform::Bitmap& expected,
                                   const platform::Bitmap& actual);

}  // namespace host
