#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace platform {

/// Reads the XML form of property lists from unchecked bytes in UTF-8, UTF-16, ISO 8859-1 or ASCII.
/// The error says what is wrong and in which line.
///
/// An element of an unknown type becomes a string: its own XML text.
std::expected<Value, std::string> readXMLPropertyList(std::string_view bytes);

}  // namespace platform
