#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "platform/render/output/pixel_deflate.h"
#include "platform/render/pixels/bitmap.h"

namespace platform {

/// Writes bitmaps as PNG files: RGB where every pixel is opaque, RGBA otherwise.
///
/// Keeps its buffers from one picture to the next, because giving memory of that size back and
/// asking for it again costs as much as compressing it. Rows are not filtered: on widgets, filters
/// took longer and came out larger.
class PNGEncoder {
 public:
  std::string encode(const Bitmap& bitmap);

 private:
  /// Memory that is not cleared: its pages are only touched as far as they are written to.
  class Buffer {
   public:
    /// At least that many bytes; what they held before may be lost.
    char* reserve(std::size_t size);

   private:
    std::unique_ptr<char[]> bytes_;
    std::size_t size_ = 0;
  };

  PixelDeflate deflate_;
  Buffer pixels_;
  Buffer file_;
};

}  // namespace platform
