#pragma once

#include <cstdint>
#include <optional>
#include <source_location>
#include <string_view>

namespace platform {

/// Prints what went wrong and where to standard error, then aborts. For programming errors.
[[noreturn]] void fatalError(std::string_view what,
                             std::source_location where = std::source_location::current());

/// The value, which must be present: a literal that must parse, a date that must exist.
template <class T>
T require(std::optional<T> value, std::source_location where = std::source_location::current()) {
  if (!value) {
    fatalError("a required value is missing", where);
  }
  return *std::move(value);
}

/// The sum. An overflow stops the process, as the platform's arithmetic does.
std::int64_t addTrapping(std::int64_t a, std::int64_t b);

}  // namespace platform
