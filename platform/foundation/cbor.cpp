#include "platform/foundation/cbor.h"

#include <bit>
#include <cstdint>
#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/foundation/utf8.h"
#include "platform/foundation/value_builder.h"
#include "platform/foundation/value_path.h"

namespace platform {

namespace {

using nlohmann::json;

/// What CBOR needs beyond JSON: the parser leaves the check of its texts and of its negative
/// numbers to us.
class CBORBuilder : public ValueBuilder {
 public:
  CBORBuilder() : ValueBuilder(kMaxCBORDepth) {}

  /// Only negative numbers come this way. One below 64 bits arrives wrapped around: CBOR says
  /// -1 - n, and n was taken for a signed number.
  bool number_integer(std::int64_t value) {
    if (value < 0) {
      return add(value);
    }
    const std::uint64_t n = ~static_cast<std::uint64_t>(value);
    return add(-1.0 - static_cast<double>(n));
  }
  bool string(std::string& text) { return checked(text) && ValueBuilder::string(text); }
  bool key(std::string& text) { return checked(text) && ValueBuilder::key(text); }

 private:
  bool checked(std::string_view text) {
    return isUTF8(text) || fail("a text that is not UTF-8: \"" + excerpt(text) + "\"");
  }
};

// The major types of the standard, in the upper three bits of an item's first byte.
enum class Kind : unsigned char { number, negative, bytes, text, array, map, plain = 7 };

/// Writes items one behind the other.
class Writer {
 public:
  explicit Writer(std::string& bytes) : bytes_(bytes) {}

  /// What can't be written, if anything.
  std::optional<ValueFault> write(const Value& value, int depth) {
    return std::visit([&](const auto& held) { return item(held, depth); }, value.storage());
  }

 private:
  using Fault = std::optional<ValueFault>;

  void byte(Kind kind, unsigned low) {
    bytes_ += static_cast<char>(std::to_underlying(kind) << 5 | low);
  }
  void number(std::uint64_t number, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
      bytes_ += static_cast<char>(number >> shift & 0xFF);
    }
  }
  /// The beginning of an item, in the shortest of its five forms.
  void head(Kind kind, std::uint64_t count) {
    if (count < 24) {
      return byte(kind, static_cast<unsigned>(count));
    }
    const unsigned form = count <= 0xFF ? 0 : count <= 0xFFFF ? 1 : count <= 0xFFFF'FFFF ? 2 : 3;
    byte(kind, 24 + form);
    number(count, 1 << form);
  }
  void text(std::string_view text) {
    head(Kind::text, text.size());
    bytes_ += text;
  }

  Fault item(Null, int) {
    byte(Kind::plain, 22);
    return {};
  }
  Fault item(bool value, int) {
    byte(Kind::plain, value ? 21 : 20);
    return {};
  }
  Fault item(std::int64_t value, int) {
    // -1 - n is the complement of n.
    value < 0 ? head(Kind::negative, ~static_cast<std::uint64_t>(value))
              : head(Kind::number, static_cast<std::uint64_t>(value));
    return {};
  }
  Fault item(double value, int) {
    byte(Kind::plain, 27);
    number(std::bit_cast<std::uint64_t>(value), 8);
    return {};
  }
  Fault item(const Date& date, int depth) { return item(date.timeIntervalSince1970(), depth); }
  Fault item(const std::string& value, int) {
    if (!isUTF8(value)) {
      return ValueFault{"a string that is not UTF-8"};
    }
    text(value);
    return {};
  }
  Fault item(const Data& data, int) {
    head(Kind::bytes, data.bytes.size());
    bytes_ += data.bytes;
    return {};
  }
  Fault item(const Array& array, int depth) {
    if (depth == kMaxCBORDepth) {
      return tooDeep();
    }
    head(Kind::array, array.size());
    for (std::size_t i = 0; i < array.size(); ++i) {
      if (auto fault = write(array[i], depth + 1)) {
        return std::move(*fault).inElement(i);
      }
    }
    return {};
  }
  Fault item(const Dictionary& dictionary, int depth) {
    if (depth == kMaxCBORDepth) {
      return tooDeep();
    }
    head(Kind::map, dictionary.size());
    for (const auto& [key, value] : dictionary) {
      if (!isUTF8(key)) {
        return ValueFault{"the key \"" + excerpt(key) + "\" is not UTF-8"};
      }
      text(key);
      if (auto fault = write(value, depth + 1)) {
        return std::move(*fault).inMember(key);
      }
    }
    return {};
  }
  static Fault tooDeep() {
    return ValueFault{"nested deeper than " + std::to_string(kMaxCBORDepth) + " levels"};
  }

  std::string& bytes_;
};

}  // namespace

std::expected<std::string, std::string> encodeCBOR(const Value& value) {
  std::string bytes;
  if (const auto fault = Writer(bytes).write(value, 0)) {
    return std::unexpected(fault->sentence());
  }
  return bytes;
}

std::expected<Value, std::string> decodeCBOR(std::string_view bytes) {
  CBORBuilder builder;
  if (!json::sax_parse(bytes, &builder, json::input_format_t::cbor)) {
    return std::unexpected(builder.failure());
  }
  return builder.take();
}

}  // namespace platform
