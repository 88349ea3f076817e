#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>

namespace platform {

namespace detail {

/// Writes a value in the platform's default textual form: an absent value as "nil", booleans as
/// "true" and "false".
template <class T>
void print(std::ostream& out, const T& value) {
  out << value;
}
inline void print(std::ostream& out, bool value) {
  out << (value ? "true" : "false");
}
template <class T>
void print(std::ostream& out, const std::optional<T>& value) {
  if (value) {
    print(out, *value);
  } else {
    out << "nil";
  }
}

/// Writes the line with one system call, so that lines of several threads don't mix.
void writeLine(std::string_view line);

}  // namespace detail

/// Prints one line to standard output: the parts in their default textual form, then a line feed.
/// The line is not buffered. Safe from any thread.
template <class... Parts>
void log(const Parts&... parts) {
  std::ostringstream line;
  (detail::print(line, parts), ...);
  line << '\n';
  detail::writeLine(line.str());
}

}  // namespace platform
