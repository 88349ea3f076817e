#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/foundation/error.h"
#include "platform/foundation/value.h"

namespace platform {

/// Property lists: the platform's files of typed values, binary or XML.
///
/// Values are strings, integers, reals, booleans, data, dates, arrays and dictionaries; dates hold
/// milliseconds. Safe from any thread.
struct NSPropertyListSerialization {
  /// Reads either form; the error says that the bytes are no property list.
  static std::expected<Value, NSError> propertyListWithData(std::string_view bytes);

  /// Writes the binary form. Fails on what no property list can hold: null, a string that is not
  /// UTF-8, a date out of range; the error names the key.
  static std::expected<std::string, NSError> dataWithPropertyList(const Value& value);
};

}  // namespace platform
