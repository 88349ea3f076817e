#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"
#include "platform/foundation/data/value_path.h"

namespace platform {

// The binary form of property lists ("bplist00"): a heap of numbered objects that refer to each
// other by number, a table of where each one lies, and a trailer of 32 bytes that says how to read
// both.
//
// It is read and written here and not by libplist, which aborts on strings that hold U+0000, keeps
// dates in 32 bits, unfolds shared containers without bound and goes as deep as the file does.

inline constexpr std::string_view kBinaryPropertyListMagic = "bplist00";
/// The deepest nesting that is read or written.
inline constexpr int kMaxPropertyListDepth = 512;

/// Takes unchecked bytes. The work is bounded by the size of the input, also where its objects
/// refer to each other in circles. UIDs, nulls, dates that are not valid instants and strings that
/// are not valid Unicode are `UnsupportedObject`s. The error says what is wrong and in which
/// object.
std::expected<Value, std::string> readBinaryPropertyList(std::string_view bytes);

/// Equal strings and numbers are stored once.
std::expected<std::string, ValueFault> writeBinaryPropertyList(const Value& value);

}  // namespace platform
