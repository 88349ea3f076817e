#pragma once

#include <string>
#include <string_view>

namespace platform {

/// Text without the characters at both ends that are no letters, marks or numbers of Unicode
/// (general categories L, M and N). `text` is UTF-8.
std::string trimmingNonAlphanumerics(std::string_view text);

/// How many characters people would count: Unicode's extended grapheme clusters.
std::size_t characterCount(std::string_view text);

/// The first `count` characters, or all of them where there are fewer.
std::string prefix(std::string_view text, std::size_t count);

/// The first letter of each word in upper case, the others in lower case.
std::string capitalized(std::string_view text);

}  // namespace platform
