#include "platform/render/output/png_encoder.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace platform {
namespace {

constexpr std::string_view kSignature{"\x89PNG\r\n\x1A\n", 8};
/// Length and name before a chunk's data, checksum after it.
constexpr std::size_t kChunkHead = 8;
constexpr std::size_t kChunkTail = 4;

enum class ColorType : std::uint8_t { rgb = 2, rgba = 6 };

void putNumber(char* out, std::uint32_t number) {
  for (const int shift : {24, 16, 8, 0}) {
    *out++ = static_cast<char>(number >> shift);
  }
}

/// Frames the chunk whose data already stands `kChunkHead` bytes after `out`; answers its end.
char* frameChunk(char* out, std::string_view name, std::size_t length) {
  putNumber(out, static_cast<std::uint32_t>(length));
  std::memcpy(out + 4, name.data(), 4);
  putNumber(out + kChunkHead + length, libdeflate_crc32(0, out + 4, 4 + length));
  return out + kChunkHead + length + kChunkTail;
}

char* putHeader(char* out, const Bitmap& bitmap, ColorType color) {
  char* data = out + kChunkHead;
  putNumber(data, static_cast<std::uint32_t>(bitmap.width));
  putNumber(data + 4, static_cast<std::uint32_t>(bitmap.height));
  const std::array<char, 5> rest = {8, static_cast<char>(color), 0, 0, 0};
  std::ranges::copy(rest, data + 8);
  return frameChunk(out, "IHDR", 13);
}

/// The bytes R, G, B, A of a premultiplied pixel, the first of them lowest.
std::uint32_t straight(std::uint32_t pixel) {
  const std::uint32_t alpha = pixel >> 24;
  const auto channel = [&](int shift) {
    const std::uint32_t value = (pixel >> shift) & 0xFF;
    return alpha == 255 || alpha == 0 ? value : std::min(255U, (value * 255 + alpha / 2) / alpha);
  };
  return alpha << 24 | channel(0) << 16 | channel(8) << 8 | channel(16);
}

/// Four pixels, in one of the registers that every machine has.
using Four = std::uint32_t __attribute__((vector_size(16)));

/// Turns pixels into such bytes; whether all of them are opaque.
bool putStraight(std::span<const std::uint32_t> pixels, std::uint32_t* out) {
  std::array<Four, 4> fours;
  constexpr std::size_t kPiece = sizeof fours / sizeof(std::uint32_t);
  bool allOpaque = true;
  std::size_t index = 0;
  for (; index + kPiece <= pixels.size(); index += kPiece) {
    std::memcpy(fours.data(), pixels.data() + index, sizeof fours);
    const Four common = fours[0] & fours[1] & fours[2] & fours[3];
    if ((common[0] & common[1] & common[2] & common[3]) >> 24 == 255) {
      for (Four& four : fours) {
        four = (four & 0xFF'00'FF'00) | ((four >> 16) & 0xFF) | ((four & 0xFF) << 16);
      }
      std::memcpy(out + index, fours.data(), sizeof fours);
    } else {
      std::ranges::transform(pixels.subspan(index, kPiece), out + index, straight);
      allOpaque = false;
    }
  }
  for (; index < pixels.size(); ++index) {
    out[index] = straight(pixels[index]);
    allOpaque = allOpaque && pixels[index] >> 24 == 255;
  }
  return allOpaque;
}

}  // namespace

char* PNGEncoder::Buffer::reserve(std::size_t size) {
  if (size > size_) {
    bytes_ = std::make_unique_for_overwrite<char[]>(size);
    size_ = size;
  }
  return bytes_.get();
}

std::string PNGEncoder::encode(const Bitmap& bitmap) {
  static_assert(std::endian::native == std::endian::little);
  char* const pixels = pixels_.reserve(4 * bitmap.pixels.size());
  const bool opaque = putStraight(bitmap.pixels, reinterpret_cast<std::uint32_t*>(pixels));
  const int channels = opaque ? 3 : 4;

  char* const file =
      file_.reserve(PixelDeflate::bound(bitmap.width, bitmap.height, channels) + 128);
  char* out = std::ranges::copy(kSignature, file).out;
  out = putHeader(out, bitmap, opaque ? ColorType::rgb : ColorType::rgba);
  const std::size_t packed = deflate_.pack(reinterpret_cast<const std::uint8_t*>(pixels),
                                           bitmap.width,
                                           bitmap.height,
                                           channels,
                                           out + kChunkHead);
  out = frameChunk(out, "IDAT", packed);
  out = frameChunk(out, "IEND", 0);
  return {file, out};
}

}  // namespace platform
