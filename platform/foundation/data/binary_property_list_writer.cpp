#include <bit>
#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <type_traits>
#include <vector>

#include "platform/foundation/data/binary_property_list.h"
#include "platform/support/utf8.h"

namespace platform {

namespace {

using namespace binary_property_list;

void appendBigEndian(std::string& out, std::uint64_t value, unsigned size) {
  for (unsigned shift = 8 * size; shift > 0; shift -= 8) {
    out.push_back(static_cast<char>(value >> (shift - 8) & 0xFF));
  }
}

/// The smallest size that holds all numbers up to `largest`.
unsigned integerSize(std::uint64_t largest) {
  return largest <= 0xFF ? 1 : largest <= 0xFFFF ? 2 : largest <= 0xFFFFFFFF ? 4 : 8;
}

std::string firstByte(Kind kind, unsigned low) {
  return {static_cast<char>(static_cast<unsigned>(kind) << 4 | low)};
}

std::string encodedInteger(std::uint64_t value) {
  const unsigned size = integerSize(value);
  std::string object = firstByte(Kind::integer, static_cast<unsigned>(std::countr_zero(size)));
  appendBigEndian(object, value, size);
  return object;
}

std::string encodedHeader(Kind kind, std::size_t length) {
  return length < kLongLength ? firstByte(kind, static_cast<unsigned>(length))
                              : firstByte(kind, kLongLength) + encodedInteger(length);
}

std::string encodedReal(Kind kind, double value) {
  std::string object = firstByte(kind, 3);
  appendBigEndian(object, std::bit_cast<std::uint64_t>(value), 8);
  return object;
}

/// ASCII if possible, else UTF-16; nothing for text that is not UTF-8.
std::optional<std::string> encodedText(std::string_view text) {
  std::string units;
  bool ascii = true;
  for (std::string_view rest = text; !rest.empty();) {
    const auto point = takeFirstCodePoint(rest);
    if (!point) {
      return std::nullopt;
    }
    ascii = ascii && *point < 0x80;
    if (*point < 0x10000) {
      appendBigEndian(units, *point, 2);
    } else {
      appendBigEndian(units, 0xD800 | (*point - 0x10000) >> 10, 2);
      appendBigEndian(units, 0xDC00 | (*point & 0x3FF), 2);
    }
  }
  return ascii ? encodedHeader(Kind::ascii, text.size()).append(text)
               : encodedHeader(Kind::utf16, units.size() / 2) + units;
}

class Writer {
 public:
  std::expected<std::string, ValueFault> write(const Value& value) {
    const auto top = add(value, 0);
    if (!top) {
      return std::unexpected(top.error());
    }
    std::string out(kBinaryPropertyListMagic);
    std::vector<std::size_t> offsets;
    const unsigned referenceSize = integerSize(objects_.size());
    for (const Object& object : objects_) {
      offsets.push_back(out.size());
      out += object.bytes;
      for (const std::size_t reference : object.references) {
        appendBigEndian(out, reference, referenceSize);
      }
    }
    const std::size_t table = out.size();
    const unsigned offsetSize = integerSize(table);
    for (const std::size_t offset : offsets) {
      appendBigEndian(out, offset, offsetSize);
    }
    out.append(6, '\0');
    appendBigEndian(out, offsetSize, 1);
    appendBigEndian(out, referenceSize, 1);
    appendBigEndian(out, objects_.size(), 8);
    appendBigEndian(out, *top, 8);
    appendBigEndian(out, table, 8);
    return out;
  }

 private:
  /// The object's number.
  using Added = std::expected<std::size_t, ValueFault>;

  struct Object {
    std::string bytes;
    std::vector<std::size_t> references = {};
  };

  static std::unexpected<ValueFault> fault(std::string_view what) {
    return std::unexpected(ValueFault{"a property list can't hold " + std::string(what)});
  }

  Added add(const Value& value, int depth) {
    return std::visit([&](const auto& held) { return addHeld(held, depth); }, value.storage());
  }

  template <class T>
  Added addHeld(const T& value, int depth) {
    if constexpr (std::is_same_v<T, Null>) {
      return fault("null");
    } else if constexpr (std::is_same_v<T, bool>) {
      return addScalar(firstByte(Kind::constant, value ? kTrue : kFalse));
    } else if constexpr (std::is_same_v<T, std::int64_t>) {
      return addScalar(encodedInteger(static_cast<std::uint64_t>(value)));
    } else if constexpr (std::is_same_v<T, double>) {
      return addScalar(encodedReal(Kind::real, value));
    } else if constexpr (std::is_same_v<T, std::string>) {
      auto text = encodedText(value);
      return text ? Added(addScalar(*std::move(text))) : fault("a string that is not UTF-8");
    } else if constexpr (std::is_same_v<T, Data>) {
      return addScalar(encodedHeader(Kind::data, value.bytes.size()) + value.bytes);
    } else if constexpr (std::is_same_v<T, UnsupportedObject>) {
      return addScalar(value.bytes);
    } else if constexpr (std::is_same_v<T, Date>) {
      const double seconds = value.timeIntervalSince1970() - kReferenceDate;
      return std::isfinite(seconds) ? Added(addScalar(encodedReal(Kind::date, seconds)))
                                    : fault("a date that is not finite");
    } else if (depth == kMaxPropertyListDepth) {
      return fault("nesting beyond " + std::to_string(depth) + " levels");
    } else if constexpr (std::is_same_v<T, Array>) {
      return addArray(value, depth + 1);
    } else {
      return addDictionary(value, depth + 1);
    }
  }

  std::size_t addScalar(std::string bytes) {
    const auto [scalar, isNew] = scalars_.try_emplace(std::move(bytes), objects_.size());
    if (isNew) {
      objects_.push_back({scalar->first});
    }
    return scalar->second;
  }

  Added addArray(const Array& array, int depth) {
    Object object{encodedHeader(Kind::array, array.size())};
    for (std::size_t i = 0; i < array.size(); ++i) {
      auto element = add(array[i], depth);
      if (!element) {
        return std::unexpected(std::move(element.error()).inElement(i));
      }
      object.references.push_back(*element);
    }
    objects_.push_back(std::move(object));
    return objects_.size() - 1;
  }

  Added addDictionary(const Dictionary& dictionary, int depth) {
    Object object{encodedHeader(Kind::dictionary, dictionary.size())};
    for (const auto& member : dictionary) {
      auto key = encodedText(member.first);
      if (!key) {
        return fault("the key \"" + excerpt(member.first) + "\", which is not UTF-8");
      }
      object.references.push_back(addScalar(*std::move(key)));
    }
    for (const auto& [key, value] : dictionary) {
      auto member = add(value, depth);
      if (!member) {
        return std::unexpected(std::move(member.error()).inMember(key));
      }
      object.references.push_back(*member);
    }
    objects_.push_back(std::move(object));
    return objects_.size() - 1;
  }

  std::vector<Object> objects_;
  std::map<std::string, std::size_t> scalars_;
};

}  // namespace

std::expected<std::string, ValueFault> writeBinaryPropertyList(const Value& value) {
  return Writer().write(value);
}

}  // namespace platform
