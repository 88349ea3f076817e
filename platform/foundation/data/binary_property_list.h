#pragma once

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"
#include "platform/foundation/data/value_path.h"

namespace platform {

// The binary form of property lists ("bplist00"): a heap of numbered objects that refer to each
// other by number, a table of their offsets, and a trailer of 32 bytes that describes both.
//
// libplist is not used: it aborts on strings that hold U+0000, keeps dates in 32 bits, unfolds
// shared containers without bound and limits no depth.

inline constexpr std::string_view kBinaryPropertyListMagic = "bplist00";
/// The deepest nesting that is read or written, in the XML form as well.
inline constexpr int kMaxPropertyListDepth = 512;

/// Takes unchecked bytes. The work is bounded by the size of the input, even if its objects refer
/// to each other in circles. UIDs, nulls, dates that are not valid instants and strings that are
/// not valid Unicode become `UnsupportedObject`s. The error says what is wrong with which object.
std::expected<Value, std::string> readBinaryPropertyList(std::string_view bytes);

/// Stores equal strings and numbers once.
std::expected<std::string, ValueFault> writeBinaryPropertyList(const Value& value);

namespace binary_property_list {

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

}  // namespace binary_property_list

}  // namespace platform
