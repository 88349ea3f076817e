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

/// A user's affirmation of a day, which is counted from any fixed one: the same all day, another
/// sentence in another colour on the next. `language` is a code or a locale; what is not es, en, pt
/// or fr is answered in Spanish.
Affirmation affirmationOf(std::string_view uid, std::int64_t day, std::string_view language);

}  // namespace host
