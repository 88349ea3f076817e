#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/foundation/data/value.h"

// Enumerations whose cases have a text each. An enumeration lists its texts, in the order of its
// cases from zero, by specialising `kRawValues`; the functions below then work for it.

namespace platform {

template <class Enum>
inline constexpr std::array<std::string_view, 0> kRawValues;

template <class Enum>
concept RawRepresentable = (kRawValues<Enum>.size() > 0);

template <RawRepresentable Enum>
constexpr std::string_view rawValue(Enum value) {
  return kRawValues<Enum>[static_cast<std::size_t>(value)];
}

/// Every case, in order of declaration.
template <RawRepresentable Enum>
constexpr auto allCases() {
  std::array<Enum, kRawValues<Enum>.size()> cases{};
  for (std::size_t index = 0; index < cases.size(); ++index) {
    cases[index] = static_cast<Enum>(index);
  }
  return cases;
}

/// The case with exactly that text, or nothing.
template <RawRepresentable Enum>
constexpr std::optional<Enum> withRawValue(std::string_view text) {
  for (const Enum value : allCases<Enum>()) {
    if (rawValue(value) == text) {
      return value;
    }
  }
  return std::nullopt;
}

/// Encodes a case as its text. Decodes nothing else.
template <RawRepresentable Enum>
Value encode(Enum value) {
  return rawValue(value);
}
template <RawRepresentable Enum>
std::optional<Enum> decode(const Value& value) {
  const auto* text = value.as<std::string>();
  return text ? withRawValue<Enum>(*text) : std::nullopt;
}

/// Hashes a case as its text is hashed.
struct RawValueHash {
  template <RawRepresentable Enum>
  std::size_t operator()(Enum value) const {
    return std::hash<std::string_view>()(rawValue(value));
  }
};

}  // namespace platform
