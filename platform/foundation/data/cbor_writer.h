#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

/// Appends CBOR item by item, where a `Value` of it all would only be made to be taken apart.
///
/// The caller keeps the count that it announced: an array of n has n items behind it, a map of n
/// has n pairs of a text and an item. Texts are not checked to be UTF-8.
class CBORWriter {
 public:
  explicit CBORWriter(std::string& out) : out_(out) {}

  void null();
  void boolean(bool value);
  void integer(std::int64_t value);
  void real(double value);
  void text(std::string_view text);
  void bytes(std::string_view bytes);
  void array(std::size_t count);
  void map(std::size_t count);

 private:
  /// The major types of the standard, in the upper three bits of an item's first byte.
  enum class Kind : unsigned char { number, negative, bytes, text, array, map, plain = 7 };

  void head(Kind kind, std::uint64_t count);
  void byte(Kind kind, unsigned low);
  void number(std::uint64_t number, int width);

  std::string& out_;
};

}  // namespace platform
