#pragma once

#include <expected>

#include "platform/foundation/data/error.h"
#include "platform/foundation/data/value.h"

namespace platform {

/// JSON by RFC 8259.
struct NSJSONSerialization {
  /// The deepest nesting that is read.
  static constexpr int kMaxDepth = 512;

  /// Parses one JSON text from unchecked bytes. The top level may be a scalar.
  ///
  /// Refuses empty data, NUL bytes, trailing bytes, invalid UTF-8, lone surrogates, numbers beyond
  /// a double and nesting beyond `kMaxDepth`; the error says what is wrong and where. A
  /// byte-order mark is skipped; of equal keys the last wins. Integers beyond 64 bits become
  /// doubles.
  static std::expected<Value, NSError> JSONObjectWithData(const Data& data);

  /// Writes a compact JSON text; the slash is escaped and a whole number has no fraction (5.0 is
  /// "5"), as the platform does. Fails on data, dates, strings that are not UTF-8, numbers that are
  /// not finite and nesting beyond `kMaxDepth`; the error names the key.
  static std::expected<Data, NSError> dataWithJSONObject(const Value& object);
};

}  // namespace platform
