#include "platform/foundation/data/cbor_writer.h"

#include <bit>
#include <utility>

namespace platform {

void CBORWriter::null() {
  byte(Kind::plain, 22);
}

void CBORWriter::boolean(bool value) {
  byte(Kind::plain, value ? 21 : 20);
}

void CBORWriter::integer(std::int64_t value) {
  // -1 - n is the complement of n.
  const auto bits = static_cast<std::uint64_t>(value);
  value < 0 ? head(Kind::negative, ~bits) : head(Kind::number, bits);
}

void CBORWriter::real(double value) {
  byte(Kind::plain, 27);
  number(std::bit_cast<std::uint64_t>(value), 8);
}

void CBORWriter::text(std::string_view text) {
  head(Kind::text, text.size());
  out_ += text;
}

void CBORWriter::bytes(std::string_view bytes) {
  head(Kind::bytes, bytes.size());
  out_ += bytes;
}

void CBORWriter::array(std::size_t count) {
  head(Kind::array, count);
}

void CBORWriter::map(std::size_t count) {
  head(Kind::map, count);
}

/// The beginning of an item, in the shortest of its five forms.
void CBORWriter::head(Kind kind, std::uint64_t count) {
  if (count < 24) {
    return byte(kind, static_cast<unsigned>(count));
  }
  const unsigned form = count <= 0xFF ? 0 : count <= 0xFFFF ? 1 : count <= 0xFFFF'FFFF ? 2 : 3;
  byte(kind, 24 + form);
  number(count, 1 << form);
}

void CBORWriter::byte(Kind kind, unsigned low) {
  out_ += static_cast<char>(std::to_underlying(kind) << 5 | low);
}

void CBORWriter::number(std::uint64_t number, int width) {
  for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
    out_ += static_cast<char>(number >> shift & 0xFF);
  }
}

}  // namespace platform
