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
/// to 512 levels. Other objects of a binary list become `UnsupportedObject`s, other elements of an
/// XML list strings of their XML text. A date given to the millisecond comes back equal; any other
/// from 1900 to 2100 to within a microsecond. Safe from any thread.
struct NSPropertyListSerialization {
  /// Reads either form from unchecked bytes; the error says why they are not a property list.
  /// Integers beyond 64 bits become doubles.
  static std::expected<Value, NSError> propertyListWithData(std::string_view bytes);

  /// Writes the binary form. Fails on null, strings that are not UTF-8 and dates that are not
  /// finite; the error names the key.
  static std::expected<std::string, NSError> dataWithPropertyList(const Value& value);
};

}  // namespace platform
