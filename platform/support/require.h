#pragma once

#include <cstdint>
#include <optional>
#include <source_location>
#include <string_view>

namespace platform {

/// Stops the process for a programming error: says what and where on standard error, then aborts.
[[noreturn]] void fatalError(std::string_view what,
                             std::source_location where = std::source_location::current());

/// The value that must be there: a literal that must parse, a date that the calendar must answer.
template <class T>
T require(std::optional<T> value,
          std::string_view what,
          std::source_location where = std::source_location::current()) {
  if (!value) {
    fatalError(what, where);
  }
  return *std::move(value);
}

/// The sum, stopping the process where it leaves 64 bits, as the platform's arithmetic does.
std::int64_t addTrapping(std::int64_t a, std::int64_t b);

}  // namespace platform
