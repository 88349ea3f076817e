#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace platform {

/// CBOR by RFC 8949: how values cross the boundary between host and extension.
///
/// Null, booleans, integers, doubles, strings, byte strings, arrays and dictionaries go through
/// unchanged; a date travels as its seconds since 1970 and arrives as a number. Strings that are
/// not UTF-8 and nesting beyond `kMaxCBORDepth` are refused in both directions, with a sentence
/// that says so. Integers beyond 64 bits arrive as doubles; of equal keys the last wins.
inline constexpr int kMaxCBORDepth = 256;

std::expected<std::string, std::string> encodeCBOR(const Value& value);
/// Takes bytes that nobody has checked: all of them must be one value.
std::expected<Value, std::string> decodeCBOR(std::string_view bytes);

}  // namespace platform
