#pragma once

#include <string>
#include <string_view>

namespace platform {

/// The bytes in base64 (RFC 4648), padded.
std::string base64(std::string_view bytes);

}  // namespace platform
