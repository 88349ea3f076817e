#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace platform {

/// Packs rows of pixels into a zlib stream, as a PNG file has them, each row unfiltered.
///
/// Made for widgets: it looks for whole pixels that stand on their left, above them or, by pairs,
/// anywhere in the rows before, where a general packer looks for bytes. Screens of flat colours,
/// gradients and repeated backdrops are packed several times as quickly and about as small; noise
/// is not packed at all.
///
/// Keeps its memory from one picture to the next.
class PixelDeflate {
 public:
  /// `pixels` are bytes R, G, B, A in rows from the top; of each the first `channels`, 3 or 4, are
  /// packed. Writes at most `bound` bytes to `out`; answers how many.
  std::size_t pack(const std::uint8_t* pixels, int width, int height, int channels, char* out);

  /// What such a picture may take, whatever it shows.
  static std::size_t bound(int width, int height, int channels);

 private:
  /// A pixel as it stands, the number of a row's filter, or a run that was there before.
  struct Token {
    /// The run's length in bytes; 0 for a pixel, 1 for a filter.
    std::uint16_t length;
    /// Of the run's distance.
    std::uint8_t symbol;
    /// The run's distance in bytes, or the pixel.
    std::uint32_t value;
  };
  struct Counts;

  std::size_t findRuns(
      const std::uint32_t* pixels, int width, int height, int channels, Counts& counts);

  std::unique_ptr<Token[]> tokens_;
  std::size_t capacity_ = 0;
};

}  // namespace platform
