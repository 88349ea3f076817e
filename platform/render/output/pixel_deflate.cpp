#include "platform/render/output/pixel_deflate.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>
#include <vector>

#include "platform/render/output/huffman_code.h"

namespace platform {
namespace {

constexpr int kWindow = 32768;
constexpr int kLongestRun = 258;
constexpr int kEndOfBlock = 256;
constexpr int kHashBits = 12;

/// A length or distance of deflate: its symbol, and the bits that tell it from its neighbours.
struct Extra {
  std::uint16_t symbol = 0;
  std::uint16_t base = 0;
  std::uint8_t bits = 0;
};

constexpr std::array<Extra, kLongestRun + 1> lengthTable() {
  std::array<Extra, kLongestRun + 1> table = {};
  int length = 3;
  for (int symbol = 257; symbol < 285; ++symbol) {
    const int bits = symbol < 265 ? 0 : (symbol - 261) / 4;
    const int base = length;
    for (; length < base + (1 << bits) && length <= kLongestRun; ++length) {
      table[length] = {static_cast<std::uint16_t>(symbol),
                       static_cast<std::uint16_t>(base),
                       static_cast<std::uint8_t>(bits)};
    }
  }
  table[kLongestRun] = {285, kLongestRun, 0};
  return table;
}
constexpr auto kLengths = lengthTable();

/// By symbol. Every two of them double the distance.
constexpr std::array<Extra, 30> distanceTable() {
  std::array<Extra, 30> table = {};
  int distance = 1;
  for (int symbol = 0; symbol < 30; ++symbol) {
    const int bits = symbol < 2 ? 0 : symbol / 2 - 1;
    table[symbol] = {static_cast<std::uint16_t>(symbol),
                     static_cast<std::uint16_t>(distance),
                     static_cast<std::uint8_t>(bits)};
    distance += 1 << bits;
  }
  return table;
}
constexpr auto kDistances = distanceTable();

/// Of a distance from 1 to 32768.
std::uint8_t distanceSymbol(int distance) {
  const auto from = static_cast<std::uint32_t>(distance - 1);
  if (from < 4) {
    return static_cast<std::uint8_t>(from);
  }
  const auto bits = static_cast<std::uint32_t>(std::bit_width(from)) - 2;
  return static_cast<std::uint8_t>(2 * bits + (from >> bits));
}

/// How many pixels are equal, `most` at most.
inline int equalPixels(const std::uint32_t* one, const std::uint32_t* other, int most) {
  int count = 0;
  for (std::uint64_t a = 0, b = 0; count + 2 <= most; count += 2) {
    std::memcpy(&a, one + count, sizeof a);
    std::memcpy(&b, other + count, sizeof b);
    if (a != b) {
      return count + std::countr_zero(a ^ b) / 32;
    }
  }
  return count < most && one[count] == other[count] ? count + 1 : count;
}

std::uint32_t hashOf(std::uint32_t first, std::uint32_t second) {
  return (first * 0x9E3779B1U + second * 0x85EBCA77U) >> (32 - kHashBits);
}

/// Bits from the lowest of each byte on, as deflate has them.
class BitWriter {
 public:
  explicit BitWriter(char* out) : out_(out) {}

  /// Up to 56 bits before the next `flush`.
  void put(std::uint64_t bits, int count) {
    pending_ |= bits << count_;
    count_ += count;
  }
  void put(const HuffmanCode::Word& word) { put(word.bits, word.length); }

  /// Writes eight bytes, of which the whole ones stay.
  void flush() {
    std::memcpy(out_, &pending_, sizeof pending_);
    out_ += count_ / 8;
    pending_ >>= count_ & ~7;
    count_ &= 7;
  }

  /// Fills the last byte; answers the end.
  char* finish() {
    flush();
    return count_ > 0 ? out_ + 1 : out_;
  }

 private:
  char* out_;
  std::uint64_t pending_ = 0;
  int count_ = 0;
};

/// The head of a block whose codes are its own, with the lengths of their words.
void putCodes(BitWriter& out, const HuffmanCode& literals, const HuffmanCode& distances) {
  constexpr std::array<int, 19> kOrder = {
      16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
  std::vector<std::uint32_t> uses(kOrder.size());
  const auto eachLength = [&](auto see) {
    for (const HuffmanCode* code : {&literals, &distances}) {
      for (std::size_t symbol = 0; symbol < code->size(); ++symbol) {
        see((*code)[symbol].length);
      }
    }
  };
  // Lengths one by one: runs of them would save some dozen bytes.
  eachLength([&](int length) { ++uses[length]; });
  const HuffmanCode lengths(uses, 7);
  out.put(1, 1);  // The last block
  out.put(2, 2);  // has codes of its own.
  out.put(static_cast<std::uint32_t>(literals.size() - 257), 5);
  out.put(static_cast<std::uint32_t>(distances.size() - 1), 5);
  out.put(kOrder.size() - 4, 4);
  out.flush();
  for (const int symbol : kOrder) {
    out.put(lengths[symbol].length, 3);
    out.flush();
  }
  eachLength([&](int length) {
    out.put(lengths[length]);
    out.flush();
  });
}

std::uint32_t checksum(const std::uint8_t* pixels, int width, int height, int channels) {
  std::uint32_t sum = libdeflate_adler32(0, nullptr, 0);
  std::vector<std::uint8_t> row(1 + static_cast<std::size_t>(width) * channels);
  for (int y = 0; y < height; ++y, pixels += static_cast<std::ptrdiff_t>(width) * 4) {
    if (channels == 4) {
      sum = libdeflate_adler32(sum, row.data(), 1);
      sum = libdeflate_adler32(sum, pixels, static_cast<std::size_t>(width) * 4);
      continue;
    }
    std::uint8_t* next = row.data() + 1;
    for (const std::uint8_t* pixel = pixels; next != row.data() + row.size(); pixel += 4) {
      next = std::copy_n(pixel, channels, next);
    }
    sum = libdeflate_adler32(sum, row.data(), row.size());
  }
  return sum;
}

}  // namespace

struct PixelDeflate::Counts {
  std::array<std::uint32_t, 286> literals = {};
  std::array<std::uint32_t, 30> distances = {};
};

std::size_t PixelDeflate::bound(int width, int height, int channels) {
  // No word of the code is longer than 15 bits.
  return 1024 +
         2 * static_cast<std::size_t>(height) * (1 + static_cast<std::size_t>(width) * channels);
}

std::size_t PixelDeflate::findRuns(
    const std::uint32_t* pixels, int width, int height, int channels, Counts& counts) {
  const int stride = 1 + width * channels;
  const int longest = kLongestRun / channels;
  // Where a pair of pixels stood last.
  struct Place {
    std::int16_t x = -1;
    std::int16_t y = -1;
  };
  std::array<Place, 1 << kHashBits> seen = {};
  Token* token = tokens_.get();
  const auto putRun = [&](int run, int distance, std::uint8_t symbol) {
    const auto length = static_cast<std::uint16_t>(run * channels);
    *token++ = {length, symbol, static_cast<std::uint32_t>(distance)};
    ++counts.literals[kLengths[length].symbol];
    ++counts.distances[symbol];
  };
  const std::uint8_t leftSymbol = distanceSymbol(channels);
  // Rows may be too long to look back over one.
  const bool seesAbove = stride <= kWindow;
  const std::uint8_t aboveSymbol = seesAbove ? distanceSymbol(stride) : 0;

  for (int y = 0; y < height; ++y) {
    const std::uint32_t* row = pixels + static_cast<std::ptrdiff_t>(y) * width;
    *token++ = {1, 0, 0};
    ++counts.literals[0];
    const bool above = y > 0 && seesAbove;
    if (above && std::memcmp(row, row - width, static_cast<std::size_t>(width) * 4) == 0) {
      for (int x = 0; x < width; x += longest) {
        putRun(std::min(longest, width - x), stride, aboveSymbol);
      }
      continue;
    }
    for (int x = 0; x < width;) {
      const int most = std::min(longest, width - x);
      int run = 0;
      int distance = 0;
      std::uint8_t symbol = 0;
      if (x > 0 && row[x] == row[x - 1]) {
        run = equalPixels(row + x, row + x - 1, most);
        distance = channels;
        symbol = leftSymbol;
      }
      if (run < most && above && row[x] == row[x - width]) {
        const int found = equalPixels(row + x, row + x - width, most);
        if (found > run) {
          run = found;
          distance = stride;
          symbol = aboveSymbol;
        }
      }
      if (run < 2 && x + 1 < width) {
        Place& place = seen[hashOf(row[x], row[x + 1])];
        const int away = (y - place.y) * stride + (x - place.x) * channels;
        if (place.x >= 0 && away <= kWindow) {
          const std::uint32_t* there =
              pixels + static_cast<std::ptrdiff_t>(place.y) * width + place.x;
          const int found = equalPixels(row + x, there, std::min(most, width - place.x));
          if (found > run + 1) {
            run = found;
            distance = away;
            symbol = distanceSymbol(away);
          }
        }
        place = {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y)};
      }
      if (run > 0) {
        putRun(run, distance, symbol);
        x += run;
        continue;
      }
      *token++ = {0, 0, row[x]};
      for (int channel = 0; channel < channels; ++channel) {
        ++counts.literals[row[x] >> (8 * channel) & 0xFF];
      }
      ++x;
    }
  }
  ++counts.literals[kEndOfBlock];
  return static_cast<std::size_t>(token - tokens_.get());
}

std::size_t PixelDeflate::pack(
    const std::uint8_t* pixels, int width, int height, int channels, char* out) {
  const std::size_t most = static_cast<std::size_t>(height) * (static_cast<std::size_t>(width) + 1);
  if (most > capacity_) {
    tokens_ = std::make_unique_for_overwrite<Token[]>(most);
    capacity_ = most;
  }
  Counts counts;
  const std::size_t count =
      findRuns(reinterpret_cast<const std::uint32_t*>(pixels), width, height, channels, counts);
  const HuffmanCode literals(counts.literals, 15);
  const HuffmanCode distances(counts.distances, 15);

  char* start = out;
  *out++ = 0x78;
  *out++ = 0x01;
  BitWriter bits(out);
  putCodes(bits, literals, distances);
  for (const Token& token : std::span(tokens_.get(), count)) {
    if (token.length == 0) {
      // Four words of 15 bits are more than the seven that may be left allow.
      bits.put(literals[token.value & 0xFF]);
      bits.put(literals[token.value >> 8 & 0xFF]);
      bits.put(literals[token.value >> 16 & 0xFF]);
      if (channels == 4) {
        bits.flush();
        bits.put(literals[token.value >> 24]);
      }
    } else if (token.length == 1) {
      bits.put(literals[0]);
    } else {
      const Extra& length = kLengths[token.length];
      const Extra& distance = kDistances[token.symbol];
      bits.put(literals[length.symbol]);
      bits.put(token.length - length.base, length.bits);
      bits.put(distances[distance.symbol]);
      bits.put(token.value - distance.base, distance.bits);
    }
    bits.flush();
  }
  bits.put(literals[kEndOfBlock]);
  out = bits.finish();
  const std::uint32_t sum = checksum(pixels, width, height, channels);
  for (const int shift : {24, 16, 8, 0}) {
    *out++ = static_cast<char>(sum >> shift);
  }
  return static_cast<std::size_t>(out - start);
}

}  // namespace platform
