#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host {

struct Affirmation {
  std::string text;
  /// blush, gold or sky
  std::string color;
  friend bool operator==(const Affirmation&, const Affirmation&) = default;
};

/// The affirmation of a user on a day, which is counted from any fixed day. The next day has
/// another text and color. `language` is a code or a locale; unknown ones are answered in Spanish,
/// known are es, en, pt and fr.
Affirmation affirmationOf(std::string_view uid, std::int64_t day, std::string_view language);

}  // namespace host
