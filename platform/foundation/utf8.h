#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// Reads the code point that starts at `position` and moves behind it. Where the bytes are no UTF-8
/// (surrogates, overlong forms and points past U+10FFFF included), gives nothing and moves one
/// byte.
std::optional<char32_t> nextCodePoint(std::string_view text, std::size_t& position);

/// `point` is a code point that is no surrogate.
void appendCodePoint(std::string& text, char32_t point);

bool isValidUTF8(std::string_view text);

/// A short form of text of unknown origin that can stand in a message: bytes that are no UTF-8
/// become U+FFFD, and what passes `limit` bytes becomes an ellipsis.
std::string excerpt(std::string_view text, std::size_t limit = 200);

}  // namespace platform
