#pragma once

#include <memory>
#include <string>

#include "platform/render/pixels/bitmap.h"

namespace platform {

/// Writes bitmaps as PNG files: RGB if every pixel is opaque, RGBA otherwise. The same bitmap gives
/// the same bytes on every processor with SSE 4.2.
///
/// Keeps its buffers between pictures: returning memory of that size to the system and getting it
/// back takes longer than the compression. All encoders of the process share the compressed bytes
/// of the latest rows, at most 8 MiB. Used by one thread at a time.
class PNGEncoder {
 public:
  PNGEncoder();
  ~PNGEncoder();

  std::string encode(const Bitmap& bitmap);

 private:
  struct Buffers;
  std::unique_ptr<Buffers> buffers_;
};

}  // namespace platform
