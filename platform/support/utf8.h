#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// Takes the first code point off a text that is not empty. Nothing where the bytes are not UTF-8
/// (overlong forms, surrogates and points past U+10FFFF are not): then a single byte is taken.
std::optional<char32_t> takeFirstCodePoint(std::string_view& text);

/// The same from the end.
std::optional<char32_t> takeLastCodePoint(std::string_view& text);

/// `point` is a code point that is no surrogate.
void appendCodePoint(std::string& text, char32_t point);

/// Whether all of the text is UTF-8.
bool isUTF8(std::string_view text);

/// A short form of text of unknown origin that can stand in a message: bytes that are no UTF-8
/// become U+FFFD, and what passes `limit` bytes becomes an ellipsis.
std::string excerpt(std::string_view text, std::size_t limit = 200);

}  // namespace platform
