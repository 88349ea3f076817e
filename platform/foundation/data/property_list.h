#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/foundation/data/error.h"
#include "platform/foundation/data/value.h"

namespace platform {

/// Reads a property list as `NSPropertyListSerialization` does; the error says only what is wrong
/// and where.
std::expected<Value, std::string> readPropertyList(std::string_view bytes);

/// Property lists: the platform's files of typed values, binary or XML.
///
/// Values are strings, integers, reals, booleans, data, dates, arrays and dictionaries, nested up
/// to 512 levels. What else a binary list may hold is an `UnsupportedObject`, what else an XML list
/// may hold is a string of the element's XML text. A date given to the millisecond comes back
/// equal; any other, from 1900 to 2100, to within a microsecond. Safe from any thread.
struct NSPropertyListSerialization {
  /// Reads either form, from bytes that nobody has checked; the error says that the bytes are no
  /// property list, and why. Integers beyond 64 bits become doubles.
  static std::expected<Value, NSError> propertyListWithData(std::string_view bytes);

  /// Writes the binary form. Fails on what no property list can hold: null, a string that is not
  /// UTF-8, a date that is not finite; the error names the key.
  static std::expected<std::string, NSError> dataWithPropertyList(const Value& value);
};

}  // namespace platform
