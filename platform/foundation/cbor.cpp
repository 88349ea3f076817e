#include "platform/foundation/cbor.h"

#include <cstdint>
#include <type_traits>

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

using Tree = std::expected<json, ValueFault>;

Tree treeOf(const Value& value, int depth);

Tree treeOf(const Array& array, int depth) {
  json tree = json::array();
  for (std::size_t i = 0; i < array.size(); ++i) {
    auto element = treeOf(array[i], depth);
    if (!element) {
      return std::unexpected(std::move(element.error()).inElement(i));
    }
    tree.push_back(*std::move(element));
  }
  return tree;
}

Tree treeOf(const Dictionary& dictionary, int depth) {
  json tree = json::object();
  for (const auto& [key, value] : dictionary) {
    if (!isUTF8(key)) {
      return std::unexpected(ValueFault{"the key \"" + excerpt(key) + "\" is not UTF-8"});
    }
    auto member = treeOf(value, depth);
    if (!member) {
      return std::unexpected(std::move(member.error()).inMember(key));
    }
    tree.emplace(key, *std::move(member));
  }
  return tree;
}

template <class T>
Tree treeOfHeld(const T& value, int depth) {
  if constexpr (std::is_same_v<T, Null>) {
    return json(nullptr);
  } else if constexpr (std::is_same_v<T, std::string>) {
    if (!isUTF8(value)) {
      return std::unexpected(ValueFault{"a string that is not UTF-8"});
    }
    return json(value);
  } else if constexpr (std::is_same_v<T, Data>) {
    return json::binary({value.bytes.begin(), value.bytes.end()});
  } else if constexpr (std::is_same_v<T, Date>) {
    return json(value.timeIntervalSince1970());
  } else if constexpr (std::is_same_v<T, Array> || std::is_same_v<T, Dictionary>) {
    if (depth == kMaxCBORDepth) {
      return std::unexpected(
          ValueFault{"nested deeper than " + std::to_string(kMaxCBORDepth) + " levels"});
    }
    return treeOf(value, depth + 1);
  } else {
    return json(value);
  }
}

Tree treeOf(const Value& value, int depth) {
  return std::visit([depth](const auto& held) { return treeOfHeld(held, depth); }, value.storage());
}

}  // namespace

std::expected<std::string, std::string> encodeCBOR(const Value& value) {
  const auto tree = treeOf(value, 0);
  if (!tree) {
    return std::unexpected(tree.error().sentence());
  }
  std::string bytes;
  json::to_cbor(*tree, bytes);
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
