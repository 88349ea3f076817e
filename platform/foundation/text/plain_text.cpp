#include "platform/foundation/text/plain_text.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace platform {

namespace {

static_assert(std::endian::native == std::endian::little, "the first byte is the lowest");

constexpr std::uint64_t kOnes = 0x0101010101010101;
constexpr std::uint64_t kHighBits = 0x80 * kOnes;

/// The high bit of every byte below `limit`, and perhaps of bytes behind the first such one.
constexpr std::uint64_t bytesBelow(std::uint64_t word, unsigned limit) {
  return (word - limit * kOnes) & ~word & kHighBits;
}

constexpr std::uint64_t bytesEqual(std::uint64_t word, unsigned byte) {
  return bytesBelow(word ^ byte * kOnes, 1);
}

bool isPlain(char c) {
  return static_cast<unsigned char>(c) >= 0x20 && c != '"' && c != '\\' && c != 0x7F;
}

}  // namespace

std::size_t plainLength(std::string_view text) {
  std::size_t length = 0;
  // Eight bytes at once, as long as there are eight.
  for (; length + sizeof(std::uint64_t) <= text.size(); length += sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + length, sizeof word);
    const std::uint64_t special = bytesBelow(word, 0x20) | bytesEqual(word, '"') |
                                  bytesEqual(word, '\\') | bytesEqual(word, 0x7F);
    if (special != 0) {
      return length + static_cast<std::size_t>(std::countr_zero(special)) / 8;
    }
  }
  while (length < text.size() && isPlain(text[length])) {
    ++length;
  }
  return length;
}

}  // namespace platform
