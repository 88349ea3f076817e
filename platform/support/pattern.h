#pragma once

#include <regex.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "platform/support/require.h"

namespace platform {

/// A POSIX extended regular expression over bytes. Compiling one takes some 10 us, so constants are
/// static. Safe from any thread.
class Pattern {
 public:
  /// An expression that is not valid stops the process.
  explicit Pattern(const char* expression) {
    if (::regcomp(&compiled_, expression, REG_EXTENDED) != 0) {
      fatalError(expression);
    }
  }
  ~Pattern() { ::regfree(&compiled_); }
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  /// The longest of the first matches, then its groups; a group that takes no part is empty.
  template <std::size_t groups>
  std::optional<std::array<std::string_view, groups + 1>> find(std::string_view text) const {
    std::array<regmatch_t, groups + 1> ranges = {};
    ranges[0].rm_eo = static_cast<regoff_t>(text.size());
    if (::regexec(&compiled_, text.data(), ranges.size(), ranges.data(), REG_STARTEND) != 0) {
      return std::nullopt;
    }
    std::array<std::string_view, groups + 1> found;
    for (std::size_t i = 0; i < found.size(); ++i) {
      const auto [start, end] = ranges[i];
      found[i] = start < 0 ? "" : text.substr(start, end - start);
    }
    return found;
  }

  /// Whether the whole text has this form.
  bool matches(std::string_view text) const {
    const auto found = find<0>(text);
    return found && found->front().size() == text.size();
  }

 private:
  regex_t compiled_;
};

}  // namespace platform
