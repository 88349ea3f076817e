#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace platform {

/// Reads the XML form of property lists, in any encoding that XML processors must know. Takes bytes
/// that nobody has checked; the error says what is wrong and in which line.
///
/// An element of an unknown type becomes a string: its own XML text.
std::expected<Value, std::string> readXMLPropertyList(std::string_view bytes);

}  // namespace platform
