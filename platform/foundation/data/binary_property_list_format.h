#pragma once

#include <cstddef>

namespace platform::binary_property_list {

// What the reader and the writer of the binary form agree on.

/// The high half of an object's first byte; the low half is a size or a length.
enum class Kind : unsigned {
  constant = 0x0,
  integer = 0x1,
  real = 0x2,
  date = 0x3,
  data = 0x4,
  ascii = 0x5,
  utf16 = 0x6,
  uid = 0x8,
  array = 0xA,
  dictionary = 0xD,
};

inline constexpr unsigned kNull = 0x00;
inline constexpr unsigned kFalse = 0x08;
inline constexpr unsigned kTrue = 0x09;
/// A length in the low half that says: the length follows as an integer object.
inline constexpr unsigned kLongLength = 0xF;
inline constexpr std::size_t kTrailerSize = 32;
/// Dates count from 2001-01-01 00:00 UTC.
inline constexpr double kReferenceDate = 978307200.0;

}  // namespace platform::binary_property_list
