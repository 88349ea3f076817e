#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/foundation/value.h"

namespace platform {

/// CBOR by RFC 8949: how values cross the boundary between host and extension.
///
/// Null, booleans, integers, doubles, strings, byte strings, arrays and dictionaries go through
/// unchanged; a date travels as its seconds since 1970 and arrives as a number. Nesting beyond
/// `kMaxCBORDepth` is refused in both directions, with a sentence that says so.
inline constexpr int kMaxCBORDepth = 256;

std::expected<std::string, std::string> encodeCBOR(const Value& value);
/// Takes bytes that nobody has checked: all of them must be one value.
std::expected<Value, std::string> decodeCBOR(std::string_view bytes);

}  // namespace platform
