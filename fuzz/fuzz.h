#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// What the fuzz targets share.

namespace fuzz {

/// Stops the run, which keeps the input.
inline void expect(bool holds, std::string_view what) {
  if (!holds) {
    std::fprintf(stderr, "Not so: %.*s\n", static_cast<int>(what.size()), what.data());
    std::abort();
  }
}

/// What was read, which must be a value or a reason.
template <class Expected>
bool accepted(const Expected& read) {
  if (!read) {
    expect(!read.error().empty(), "what is refused is refused with a reason");
  }
  return read.has_value();
}

inline std::string_view bytes(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Sends standard output, where the log goes, to nowhere.
inline void silenceLog() {
  expect(std::freopen("/dev/null", "w", stdout) != nullptr, "/dev/null takes the log");
}

}  // namespace fuzz
