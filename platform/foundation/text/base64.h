#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// RFC 4648, with padding.
std::string encodeBase64(std::string_view bytes);
/// Takes exactly what `encodeBase64` writes.
std::optional<std::string> decodeBase64(std::string_view text);

}  // namespace platform
