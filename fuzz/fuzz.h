#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// Shared by the fuzz targets.

namespace fuzz {

/// Aborts unless `holds`; the fuzzer then keeps the input.
inline void expect(bool holds, std::string_view what) {
  if (!holds) {
    std::fprintf(stderr, "Failed: %.*s\n", static_cast<int>(what.size()), what.data());
    std::abort();
  }
}

/// Whether the input was accepted. A refusal must have a reason.
template <class Expected>
bool accepted(const Expected& read) {
  if (!read) {
    expect(!read.error().empty(), "a refusal has a reason");
  }
  return read.has_value();
}

inline std::string_view bytes(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Discards standard output, which is the log.
inline void silenceLog() {
  expect(std::freopen("/dev/null", "w", stdout) != nullptr, "/dev/null takes the log");
}

}  // namespace fuzz
