#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/render/bitmap.h"

struct libdeflate_compressor;

namespace platform {

/// Writes bitmaps as PNG files: RGB where every pixel is opaque, RGBA otherwise.
///
/// Keeps its buffers from one picture to the next, because giving memory of that size back and
/// asking for it again costs as much as compressing it. Rows are not filtered: on widgets, filters
/// took longer and came out larger.
class PNGEncoder {
 public:
  PNGEncoder();
  ~PNGEncoder();

  std::string encode(const Bitmap& bitmap);

 private:
  struct Free {
    void operator()(libdeflate_compressor* compressor) const;
  };

  std::unique_ptr<libdeflate_compressor, Free> compressor_;
  std::vector<std::uint8_t> rows_;
  std::vector<char> file_;
};

}  // namespace platform
