#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

/// How many bytes at the front stand for themselves between quotes: neither control characters nor
/// a quote nor a backslash. Bytes beyond ASCII do.
std::size_t plainLength(std::string_view text);

}  // namespace platform
