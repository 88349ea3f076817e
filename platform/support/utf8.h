#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// Removes the first code point from a text that is not empty. Nothing if the bytes are not valid
/// UTF-8, as overlong forms, surrogates and values beyond U+10FFFF are not; then the bytes up to
/// the next possible start are removed.
std::optional<char32_t> takeFirstCodePoint(std::string_view& text);

/// `point` must not be a surrogate.
void appendCodePoint(std::string& text, char32_t point);

bool isUTF8(std::string_view text);

/// Makes text of unknown origin fit for a message: each ill-formed part becomes U+FFFD, and what
/// exceeds `limit` bytes becomes an ellipsis.
std::string excerpt(std::string_view text, std::size_t limit = 200);

}  // namespace platform
