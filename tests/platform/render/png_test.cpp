#include <gtest/gtest.h>
#include <spng.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>

#include "platform/render/png_encoder.h"
#include "platform/render/png_reader.h"
#include "tests/platform/render/test_bundle.h"

namespace platform {
namespace {

/// What another PNG library makes of the bytes: straight R, G, B, A.
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
  EXPECT_EQ(spng_decode_chunks(context.get()), 0) << "something stands after the pixels";
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

TEST(PNGTest, AnotherLibraryReadsTheSamePixels) {
  PNGEncoder encoder;
  // Large, then small: what is left in the buffers must not show.
  for (const auto& [width, height] : {std::pair(301, 97), {64, 64}, {1, 1}, {1, 50}, {7, 3}}) {
    for (const bool opaque : {true, false}) {
      const Bitmap bitmap = noise(width, height, opaque);
      const Decoded decoded = decode(encoder.encode(bitmap));
      ASSERT_EQ(decoded.header.width, width);
      ASSERT_EQ(decoded.header.height, height);
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
}

// Losing nothing on the way in and out is what lets a picture of the catalogue be compared with the
// widget that shows it.
TEST(PNGTest, ReadingBackGivesTheBitmap) {
  for (const bool opaque : {true, false}) {
    const Bitmap bitmap = noise(33, 21, opaque);
    const auto picture = readPNG(PNGEncoder().encode(bitmap), 2);
    ASSERT_TRUE(picture) << picture.error();
    EXPECT_EQ(picture->opaque, opaque);
    EXPECT_EQ(picture->naturalSize, (Size{16.5, 10.5}));
    for (int y = 0; y < bitmap.height; ++y) {
      const auto row = picture->row(y);
      ASSERT_TRUE(std::equal(row.begin(), row.end(), bitmap.pixels.begin() + y * bitmap.width));
    }
  }
}

TEST(PNGTest, EveryTruncationIsAnError) {
  const std::string png = PNGEncoder().encode(noise(9, 9, false));
  // Behind the pixels stand their checksum, which their own replaces, and a chunk of nothing.
  for (std::size_t length = 0; length < png.size() - 16; ++length) {
    EXPECT_FALSE(readPNG(png.substr(0, length), 1)) << length;
  }
  EXPECT_TRUE(readPNG(png, 1));
}

TEST(PNGTest, EveryBrokenByteIsAnErrorOrHarmless) {
  const std::string png = PNGEncoder().encode(noise(5, 5, true));
  int refused = 0;
  for (std::size_t at = 0; at < png.size(); ++at) {
    std::string broken = png;
    broken[at] = static_cast<char>(broken[at] ^ 0x41);
    refused += !readPNG(broken, 1);
  }
  EXPECT_GT(refused, static_cast<int>(png.size()) - 24);
}

}  // namespace
}  // namespace platform
