#pragma once

#include <string>
#include <string_view>

namespace platform {

// Text is UTF-8. Ill-formed bytes count as characters that are neither letters nor digits.

/// Removes characters other than Unicode's letters, marks and numbers (general categories L, M and
/// N) from both ends.
std::string trimmingNonAlphanumerics(std::string_view text);

/// The number of Unicode's extended grapheme clusters, which is what people count as characters.
std::size_t characterCount(std::string_view text);

/// The first `count` characters, or all of them if there are fewer.
std::string prefix(std::string_view text, std::size_t count);

/// The first letter of each word in upper case, the others in lower case.
std::string capitalized(std::string_view text);

}  // namespace platform
