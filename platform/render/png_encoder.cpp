#include "platform/render/png_encoder.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

namespace platform {
namespace {

constexpr int kLevel = 1;
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

void putColor(std::uint8_t* out, std::uint32_t pixel) {
  out[0] = static_cast<std::uint8_t>(pixel >> 16);
  out[1] = static_cast<std::uint8_t>(pixel >> 8);
  out[2] = static_cast<std::uint8_t>(pixel);
}

void putRGB(std::uint8_t* out, const std::uint32_t* pixels, int count) {
  for (int i = 0; i < count; ++i, out += 3) {
    putColor(out, pixels[i]);
  }
}

void putRGBA(std::uint8_t* out, const std::uint32_t* pixels, int count) {
  for (int i = 0; i < count; ++i, out += 4) {
    const std::uint32_t alpha = pixels[i] >> 24;
    out[3] = static_cast<std::uint8_t>(alpha);
    if (alpha == 255 || alpha == 0) {
      putColor(out, pixels[i]);
      continue;
    }
    const auto straight = [&](int shift) {
      const std::uint32_t channel = (pixels[i] >> shift) & 0xFF;
      return std::min(255U, (channel * 255 + alpha / 2) / alpha);
    };
    putColor(out, straight(16) << 16 | straight(8) << 8 | straight(0));
  }
}

bool isOpaque(const Bitmap& bitmap) {
  std::uint32_t all = 0xFF'00'00'00;
  for (const std::uint32_t pixel : bitmap.pixels) {
    all &= pixel;
  }
  return all == 0xFF'00'00'00;
}

}  // namespace

PNGEncoder::PNGEncoder() : compressor_(libdeflate_alloc_compressor(kLevel)) {
  if (!compressor_) {
    throw std::bad_alloc();
  }
}

PNGEncoder::~PNGEncoder() = default;

void PNGEncoder::Free::operator()(libdeflate_compressor* compressor) const {
  libdeflate_free_compressor(compressor);
}

char* PNGEncoder::Buffer::reserve(std::size_t size) {
  if (size > size_) {
    bytes_ = std::make_unique_for_overwrite<char[]>(size);
    size_ = size;
  }
  return bytes_.get();
}

std::string PNGEncoder::encode(const Bitmap& bitmap) {
  const bool opaque = isOpaque(bitmap);
  const auto width = static_cast<std::size_t>(bitmap.width);
  // Each row starts with the number of its filter, none.
  const std::size_t stride = 1 + width * (opaque ? 3 : 4);
  const std::size_t length = stride * static_cast<std::size_t>(bitmap.height);
  char* const rows = rows_.reserve(length);
  for (int y = 0; y < bitmap.height; ++y) {
    auto* row = reinterpret_cast<std::uint8_t*>(rows + stride * static_cast<std::size_t>(y));
    *row++ = 0;
    const std::uint32_t* pixels = bitmap.pixels.data() + width * static_cast<std::size_t>(y);
    opaque ? putRGB(row, pixels, bitmap.width) : putRGBA(row, pixels, bitmap.width);
  }

  const std::size_t bound = libdeflate_zlib_compress_bound(compressor_.get(), length);
  char* const file = file_.reserve(bound + 128);
  char* out = std::ranges::copy(kSignature, file).out;
  out = putHeader(out, bitmap, opaque ? ColorType::rgb : ColorType::rgba);
  const std::size_t packed =
      libdeflate_zlib_compress(compressor_.get(), rows, length, out + kChunkHead, bound);
  out = frameChunk(out, "IDAT", packed);
  out = frameChunk(out, "IEND", 0);
  return {file, out};
}

}  // namespace platform
