#include <gtest/gtest.h>
#include <spng.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "platform/render/images/picture.h"
#include "platform/render/output/png_encoder.h"
#include "platform/support/fingerprint.h"
#include "tests/platform/render/output/test_bundle.h"

namespace platform {
namespace {

/// A PNG file decoded by another library: straight R, G, B, A.
struct Decoded {
  spng_ihdr header = {};
  std::vector<std::uint8_t> pixels = {};
};

Decoded decode(const std::string& png) {
  Decoded decoded;
  const std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> context(spng_ctx_new(0), spng_ctx_free);
  spng_set_crc_action(context.get(), SPNG_CRC_ERROR, SPNG_CRC_ERROR);
  spng_set_png_buffer(context.get(), png.data(), png.size());
  EXPECT_EQ(spng_get_ihdr(context.get(), &decoded.header), 0);
  std::size_t size = 0;
  spng_decoded_image_size(context.get(), SPNG_FMT_RGBA8, &size);
  decoded.pixels.resize(size);
  EXPECT_EQ(spng_decode_image(context.get(), decoded.pixels.data(), size, SPNG_FMT_RGBA8, 0), 0);
  EXPECT_EQ(spng_decode_chunks(context.get()), 0) << "there are bytes after the pixels";
  return decoded;
}

Bitmap noise(int width, int height, bool opaque) {
  std::minstd_rand generator(static_cast<unsigned>(width * 31 + height));
  const auto random = [&] { return static_cast<std::uint32_t>(generator()) >> 4; };
  Bitmap bitmap = solid(width, height, 0);
  for (std::uint32_t& pixel : bitmap.pixels) {
    const std::uint32_t alpha = opaque ? 255 : random() % 256;
    pixel = alpha << 24;
    for (const int shift : {0, 8, 16}) {
      pixel |= (alpha == 0 ? 0 : random() % (alpha + 1)) << shift;
    }
  }
  return bitmap;
}

/// Noise, which can't be compressed; flat colours; repetitions near and far; gradients.
std::vector<Bitmap> patterns() {
  std::vector<Bitmap> all;
  for (const auto& [width, height] : {std::pair(301, 97), {64, 64}, {1, 1}, {1, 50}, {7, 3}}) {
    all.push_back(noise(width, height, true));
    all.push_back(noise(width, height, false));
  }
  // Longer than the longest match, and further away than the window reaches.
  all.push_back(solid(1500, 40, 0xFF'FA'F6'F2));
  // Rows longer than the window.
  all.push_back(solid(11'000, 3, 0xFF'12'34'56));
  all.push_back(solid(8192, 3, 0x80'12'34'56));
  Bitmap tiles = noise(13, 1, true);
  const std::vector<std::uint32_t> tile = tiles.pixels;
  tiles = solid(1000, 30, 0xFF'00'00'00);
  for (std::size_t i = 0; i < tiles.pixels.size(); ++i) {
    tiles.pixels[i] = i % 997 == 0 ? static_cast<std::uint32_t>(i) | 0xFF'00'00'00 : tile[i % 13];
  }
  all.push_back(tiles);
  Bitmap gradient = solid(200, 200, 0xFF'00'00'00);
  for (std::size_t i = 0; i < gradient.pixels.size(); ++i) {
    gradient.pixels[i] += static_cast<std::uint32_t>(i % 200 + i / 200) / 3;
  }
  all.push_back(gradient);
  gradient.pixels.front() = 0;
  all.push_back(gradient);
  // Equal pixels in rows of another width, then beside a transparent pixel: packed once they would
  // be wrong.
  all.push_back(solid(8, 48, 0xFF'12'34'56));
  all.push_back(solid(96, 4, 0xFF'12'34'56));
  all.push_back(solid(96, 100, 0xFF'12'34'56));
  all.back().pixels.back() = 0;
  return all;
}

TEST(PNGTest, AnotherLibraryReadsTheSamePixels) {
  // One encoder: remains in its buffers must not be visible.
  PNGEncoder encoder;
  for (const Bitmap& bitmap : patterns()) {
    const Decoded decoded = decode(encoder.encode(bitmap));
    ASSERT_EQ(decoded.header.width, bitmap.width);
    ASSERT_EQ(decoded.header.height, bitmap.height);
    const bool opaque = std::ranges::all_of(bitmap.pixels, [](auto p) { return p >> 24 == 255; });
    EXPECT_EQ(decoded.header.color_type,
              opaque ? SPNG_COLOR_TYPE_TRUECOLOR : SPNG_COLOR_TYPE_TRUECOLOR_ALPHA);
    for (std::size_t i = 0; i < bitmap.pixels.size(); ++i) {
      const std::uint32_t pixel = bitmap.pixels[i];
      const std::uint8_t* straight = &decoded.pixels[4 * i];
      const std::uint32_t alpha = pixel >> 24;
      ASSERT_EQ(straight[3], alpha);
      for (int channel = 0; channel < 3; ++channel) {
        const std::uint32_t premultiplied = pixel >> (16 - 8 * channel) & 0xFF;
        ASSERT_EQ((straight[channel] * alpha + 127) / 255, premultiplied) << pixel;
      }
    }
  }
}

TEST(PNGTest, FlatAndRepeatedPixelsTakeNextToNothing) {
  EXPECT_LT(PNGEncoder().encode(solid(1014, 474, 0xFF'FA'F6'F2)).size(), 10'000u);
  EXPECT_LT(PNGEncoder().encode(patterns()[13]).size(), 3'000u) << "tiles of 13 pixels";
}

// Goldens and file names depend on the bytes, which must not depend on the instruction set.
TEST(PNGTest, BytesAreTheSameOnEveryProcessor) {
  std::string all;
  for (const Bitmap& bitmap : patterns()) {
    all += PNGEncoder().encode(bitmap);
  }
  EXPECT_EQ(fingerprint(all), "7016cc675b560130");
}

// Tests compare pictures of the catalogue with widgets, and the sheet compares files with goldens:
// neither may lose a bit.
TEST(PNGTest, ReadingBackGivesTheBitmap) {
  for (const bool opaque : {true, false}) {
    const Bitmap bitmap = noise(33, 21, opaque);
    const auto picture = readPNG(PNGEncoder().encode(bitmap), 2);
    ASSERT_TRUE(picture) << picture.error();
    EXPECT_EQ(picture->opaque, opaque);
    EXPECT_EQ(picture->naturalSize, (Size{16.5, 10.5}));
    EXPECT_TRUE(std::ranges::equal(picture->allPixels(), bitmap.pixels));
  }
}

/// Whether the file can be read; if it can, it must show the whole bitmap.
bool showsIfRead(const std::string& png, const Bitmap& bitmap) {
  const auto picture = readPNG(png, 1);
  EXPECT_TRUE(!picture || std::ranges::equal(picture->allPixels(), bitmap.pixels));
  return picture.has_value();
}

TEST(PNGTest, EveryTruncationIsAnErrorOrHarmless) {
  const Bitmap bitmap = noise(9, 9, false);
  const std::string png = PNGEncoder().encode(bitmap);
  for (std::size_t length = 0; length < png.find("IDAT"); ++length) {
    EXPECT_FALSE(readPNG(png.substr(0, length), 1)) << length;
  }
  for (std::size_t length = png.find("IDAT"); length < png.size(); ++length) {
    showsIfRead(png.substr(0, length), bitmap);
  }
  EXPECT_TRUE(showsIfRead(png, bitmap));
}

TEST(PNGTest, EveryBrokenByteIsAnErrorOrHarmless) {
  const Bitmap bitmap = noise(5, 5, true);
  const std::string png = PNGEncoder().encode(bitmap);
  for (std::size_t at = 0; at < png.size(); ++at) {
    SCOPED_TRACE(at);
    std::string broken = png;
    broken[at] = static_cast<char>(broken[at] ^ 0x41);
    showsIfRead(broken, bitmap);
  }
}

}  // namespace
}  // namespace platform
