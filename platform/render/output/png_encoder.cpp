#include "platform/render/output/png_encoder.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#include "platform/support/require.h"

namespace platform {
namespace {

using Pixels = std::span<const std::uint32_t>;

bool isOpaque(std::uint32_t pixel) {
  return pixel >> 24 == 255;
}

/// The bytes R, G, B, A of a premultiplied pixel, R in the lowest byte.
std::uint32_t straight(std::uint32_t pixel) {
  const std::uint32_t alpha = pixel >> 24;
  const auto channel = [&](int shift) {
    const std::uint32_t value = (pixel >> shift) & 0xFF;
    return alpha == 0 ? 0 : std::min(255U, (value * 255 + alpha / 2) / alpha);
  };
  return alpha << 24 | channel(0) << 16 | channel(8) << 8 | channel(16);
}

/// The same for an opaque pixel, without branches, so that the compiler vectorizes it.
std::uint32_t straightOpaque(std::uint32_t pixel) {
  return (pixel & 0xFF'00'FF'00) | (pixel >> 16 & 0xFF) | (pixel & 0xFF) << 16;
}

/// Writes the row without a filter: on widgets, filters took longer and gave larger files.
template <std::size_t kChannels>
char* putRow(Pixels row, char* out) {
  *out++ = 0;
  // Transparent pixels stand together in the corners; other blocks take the fast path.
  constexpr std::size_t kBlock = 64;
  for (; !row.empty(); row = row.subspan(std::min(kBlock, row.size()))) {
    const Pixels block = row.first(std::min(kBlock, row.size()));
    std::uint32_t common = ~0U;
    for (const std::uint32_t pixel : block) {
      common &= pixel;
    }
    const auto put = [&](auto convert) {
      for (std::size_t i = 0; i < block.size(); ++i) {
        const std::uint32_t bytes = convert(block[i]);
        std::memcpy(out + i * kChannels, &bytes, kChannels);
      }
    };
    isOpaque(common) ? put(straightOpaque) : put(straight);
    out += block.size() * kChannels;
  }
  return out;
}

void addNumber(std::string& file, std::uint32_t number) {
  const auto bytes = std::bit_cast<std::array<char, 4>>(std::byteswap(number));
  file.append(bytes.begin(), bytes.end());
}

void addChunk(std::string& file, std::string_view name, std::string_view data) {
  addNumber(file, static_cast<std::uint32_t>(data.size()));
  const std::size_t begin = file.size();
  file.append(name).append(data);
  const auto* checked = reinterpret_cast<const unsigned char*>(file.data() + begin);
  addNumber(file, crc32_gzip_refl(0, checked, file.size() - begin));
}

}  // namespace

struct PNGEncoder::Buffers {
  isal_zstream stream;
  alignas(64) std::array<std::uint8_t, ISAL_DEF_LVL1_DEFAULT> level;
  std::string rows;
  std::string packed;

  void putRows(const Bitmap& bitmap, std::size_t channels) {
    const auto width = static_cast<std::size_t>(bitmap.width);
    const std::size_t size = (1 + width * channels) * bitmap.height;
    rows.resize_and_overwrite(size, [&](char* out, std::size_t) {
      for (std::size_t at = 0; at < bitmap.pixels.size(); at += width) {
        const Pixels row = Pixels(bitmap.pixels).subspan(at, width);
        out = channels == 3 ? putRow<3>(row, out) : putRow<4>(row, out);
      }
      return size;
    });
  }

  void compress() {
    isal_deflate_stateless_init(&stream);
    // Levels up to 2 give the same bytes with every instruction set; level 3 does not.
    stream.level = 1;
    stream.level_buf = level.data();
    stream.level_buf_size = static_cast<std::uint32_t>(level.size());
    stream.gzip_flag = IGZIP_ZLIB;
    stream.end_of_stream = 1;
    stream.next_in = reinterpret_cast<std::uint8_t*>(rows.data());
    stream.avail_in = static_cast<std::uint32_t>(rows.size());
    // Bytes that can't be compressed are stored in blocks with a short header each.
    const std::size_t bound = rows.size() + rows.size() / 8 + 1024;
    packed.resize_and_overwrite(bound, [&](char* out, std::size_t size) {
      stream.next_out = reinterpret_cast<std::uint8_t*>(out);
      stream.avail_out = static_cast<std::uint32_t>(size);
      if (isal_deflate_stateless(&stream) != COMP_OK || stream.avail_in > 0) {
        fatalError("a picture's compressed size is out of bounds");
      }
      return stream.total_out;
    });
  }
};

PNGEncoder::PNGEncoder() : buffers_(std::make_unique_for_overwrite<Buffers>()) {
}

PNGEncoder::~PNGEncoder() = default;

std::string PNGEncoder::encode(const Bitmap& bitmap) {
  static_assert(std::endian::native == std::endian::little);
  const bool opaque = std::ranges::all_of(bitmap.pixels, isOpaque);
  buffers_->putRows(bitmap, opaque ? 3 : 4);
  buffers_->compress();

  std::string header;
  addNumber(header, static_cast<std::uint32_t>(bitmap.width));
  addNumber(header, static_cast<std::uint32_t>(bitmap.height));
  // 8 bits a channel, RGB or RGBA, the only compression and filter method, not interlaced.
  header.append({8, static_cast<char>(opaque ? 2 : 6), 0, 0, 0});

  std::string file;
  file.reserve(buffers_->packed.size() + 128);
  file.append("\x89PNG\r\n\x1A\n");
  addChunk(file, "IHDR", header);
  addChunk(file, "IDAT", buffers_->packed);
  addChunk(file, "IEND", "");
  return file;
}

}  // namespace platform
