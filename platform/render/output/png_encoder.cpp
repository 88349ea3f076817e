#include "platform/render/output/png_encoder.h"

#include <absl/hash/hash.h>
#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "platform/support/require.h"

namespace platform {
namespace {

using Pixels = std::span<const std::uint32_t>;

bool isOpaque(std::uint32_t pixel) {
  return pixel >> 24 == 255;
}

/// The bytes R, G, B, A of an opaque pixel, R in the lowest byte. Has no branches, so that the
/// compiler vectorizes it.
std::uint32_t straightOpaque(std::uint32_t pixel) {
  return (pixel & 0xFF'00'FF'00) | (pixel >> 16 & 0xFF) | (pixel & 0xFF) << 16;
}

/// The same for any premultiplied pixel.
std::uint32_t straight(std::uint32_t pixel) {
  const std::uint32_t alpha = pixel >> 24;
  if (alpha == 255) {
    return straightOpaque(pixel);
  }
  const auto channel = [&](int shift) {
    const std::uint32_t value = (pixel >> shift) & 0xFF;
    return alpha == 0 ? 0 : std::min(255U, (value * 255 + alpha / 2) / alpha);
  };
  return alpha << 24 | channel(0) << 16 | channel(8) << 8 | channel(16);
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

/// Rows that are packed together. Bands do not depend on each other: pictures of the same artwork
/// with other texts have most bands in common, and those are packed once. Bytes are fewer too,
/// because each band has its own codes.
constexpr std::size_t kBandRows = 128;

struct PackedBand {
  std::string bytes;
  /// Of the rows before packing.
  std::size_t size = 0;
  std::uint32_t adler = 1;
};

/// A hash of 64 bits: of all bands of a sheet, two have the same key by chance less than once in a
/// thousand million sheets.
std::size_t keyOf(Pixels band, std::size_t width, std::size_t channels) {
  const absl::string_view bytes(reinterpret_cast<const char*>(band.data()), band.size_bytes());
  return absl::HashOf(bytes, width, channels);
}

/// The band with that key: one of the latest bands of all encoders, or else what `pack` returns.
/// Safe from any thread.
std::shared_ptr<const PackedBand> keptBand(std::size_t key,
                                           const std::function<PackedBand()>& pack) {
  constexpr std::size_t kMaxSize = 8 << 20;
  static std::mutex mutex;
  static std::unordered_map<std::size_t, std::shared_ptr<const PackedBand>> bands;
  static std::size_t size = 0;
  {
    const std::scoped_lock lock(mutex);
    if (const auto known = bands.find(key); known != bands.end()) {
      return known->second;
    }
  }
  auto band = std::make_shared<const PackedBand>(pack());
  const std::scoped_lock lock(mutex);
  size += band->bytes.size();
  if (size > kMaxSize) {
    bands.clear();
    size = band->bytes.size();
  }
  bands.emplace(key, band);
  return band;
}

}  // namespace

struct PNGEncoder::Buffers {
  alignas(64) std::array<std::uint8_t, ISAL_DEF_LVL1_DEFAULT> level;
  isal_zstream stream;
  std::string rows;
  std::string packed;
  std::string data;

  PackedBand pack(Pixels band, std::size_t width, std::size_t channels) {
    const std::size_t size = band.size() / width * (1 + width * channels);
    rows.resize_and_overwrite(size, [&](char* out, std::size_t) {
      for (; !band.empty(); band = band.subspan(width)) {
        out = channels == 3 ? putRow<3>(band.first(width), out) : putRow<4>(band.first(width), out);
      }
      return size;
    });
    auto* bytes = reinterpret_cast<std::uint8_t*>(rows.data());
    isal_deflate_init(&stream);
    // Levels up to 2 give the same bytes with every instruction set; level 3 does not.
    stream.level = 1;
    stream.level_buf = level.data();
    stream.level_buf_size = static_cast<std::uint32_t>(level.size());
    stream.next_in = bytes;
    // Bytes that can't be compressed are stored in blocks with a short header each.
    packed.resize_and_overwrite(size + size / 8 + 1024, [&](char* out, std::size_t most) {
      stream.next_out = reinterpret_cast<std::uint8_t*>(out);
      stream.avail_out = static_cast<std::uint32_t>(most);
      // ISA-L 2.30 takes one hash at the start of a long input from the address of `stream`, and
      // the packed bytes then depend on that address. A short input takes another path.
      const std::size_t start = 1 + channels;
      deflate(start, SYNC_FLUSH);
      // Ends at a whole byte, without a reference into an earlier band.
      deflate(size - start, FULL_FLUSH);
      return stream.total_out;
    });
    return {.bytes = packed, .size = size, .adler = isal_adler32(1, bytes, size)};
  }

 private:
  void deflate(std::size_t size, std::uint16_t flush) {
    stream.avail_in = static_cast<std::uint32_t>(size);
    stream.flush = flush;
    if (isal_deflate(&stream) != COMP_OK || stream.avail_in > 0) {
      fatalError("a picture's compressed size is out of bounds");
    }
  }
};

PNGEncoder::PNGEncoder() : buffers_(std::make_unique_for_overwrite<Buffers>()) {
}

PNGEncoder::~PNGEncoder() = default;

std::string PNGEncoder::encode(const Bitmap& bitmap) {
  static_assert(std::endian::native == std::endian::little);
  const bool opaque = std::ranges::all_of(bitmap.pixels, isOpaque);
  const std::size_t channels = opaque ? 3 : 4;
  const auto width = static_cast<std::size_t>(bitmap.width);

  std::string header;
  addNumber(header, static_cast<std::uint32_t>(bitmap.width));
  addNumber(header, static_cast<std::uint32_t>(bitmap.height));
  // 8 bits a channel, RGB or RGBA, the only compression and filter method, not interlaced.
  header.append({8, static_cast<char>(opaque ? 2 : 6), 0, 0, 0});

  // The header of a zlib stream, the bands, an empty last block and the checksum.
  std::string& data = buffers_->data.assign("\x78\x01");
  std::uint32_t adler = 1;
  for (Pixels rest = bitmap.pixels; !rest.empty();) {
    const Pixels band = rest.first(std::min(rest.size(), kBandRows * width));
    rest = rest.subspan(band.size());
    const auto packed = keptBand(keyOf(band, width, channels),
                                 [&] { return buffers_->pack(band, width, channels); });
    data += packed->bytes;
    adler = static_cast<std::uint32_t>(
        adler32_combine(adler, packed->adler, static_cast<z_off_t>(packed->size)));
  }
  data.append("\x03\0", 2);
  addNumber(data, adler);

  std::string file;
  file.reserve(data.size() + 128);
  file.append("\x89PNG\r\n\x1A\n");
  addChunk(file, "IHDR", header);
  addChunk(file, "IDAT", data);
  addChunk(file, "IEND", "");
  return file;
}

}  // namespace platform
