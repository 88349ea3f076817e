#include "platform/foundation/data/cbor.h"

#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/foundation/data/cbor_writer.h"
#include "platform/foundation/data/value_builder.h"
#include "platform/foundation/data/value_path.h"
#include "platform/support/utf8.h"

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

/// What can't be written, if anything.
using Fault = std::optional<ValueFault>;

Fault write(CBORWriter& out, const Value& value, int depth);

Fault writeAll(CBORWriter& out, const Array& array, int depth) {
  out.array(array.size());
  for (std::size_t i = 0; i < array.size(); ++i) {
    if (auto fault = write(out, array[i], depth)) {
      return std::move(*fault).inElement(i);
    }
  }
  return {};
}

Fault writeAll(CBORWriter& out, const Dictionary& dictionary, int depth) {
  out.map(dictionary.size());
  for (const auto& [key, value] : dictionary) {
    if (!isUTF8(key)) {
      return ValueFault{"the key \"" + excerpt(key) + "\" is not UTF-8"};
    }
    out.text(key);
    if (auto fault = write(out, value, depth)) {
      return std::move(*fault).inMember(key);
    }
  }
  return {};
}

template <class T>
Fault writeAny(CBORWriter& out, const T& value, int depth) {
  if constexpr (std::is_same_v<T, Null>) {
    out.null();
  } else if constexpr (std::is_same_v<T, bool>) {
    out.boolean(value);
  } else if constexpr (std::is_same_v<T, std::int64_t>) {
    out.integer(value);
  } else if constexpr (std::is_same_v<T, double>) {
    out.real(value);
  } else if constexpr (std::is_same_v<T, Date>) {
    out.real(value.timeIntervalSince1970());
  } else if constexpr (std::is_same_v<T, Data>) {
    out.bytes(value.bytes);
  } else if constexpr (std::is_same_v<T, std::string>) {
    if (!isUTF8(value)) {
      return ValueFault{"a string that is not UTF-8"};
    }
    out.text(value);
  } else if constexpr (std::is_same_v<T, UnsupportedObject>) {
    return ValueFault{"an object of an unsupported type"};
  } else {
    if (depth == kMaxCBORDepth) {
      return ValueFault{"nested deeper than " + std::to_string(kMaxCBORDepth) + " levels"};
    }
    return writeAll(out, value, depth + 1);
  }
  return {};
}

Fault write(CBORWriter& out, const Value& value, int depth) {
  return std::visit([&](const auto& held) { return writeAny(out, held, depth); }, value.storage());
}

}  // namespace

std::expected<std::string, std::string> encodeCBOR(const Value& value) {
  std::string bytes;
  CBORWriter out(bytes);
  if (const auto fault = write(out, value, 0)) {
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
