#pragma once

#include <cmath>
#include <ctime>

namespace platform {

/// Seconds, not negative, as the system's calls take them.
inline timespec timespecOf(double seconds) {
  const double whole = std::floor(seconds);
  return {.tv_sec = static_cast<time_t>(whole),
          .tv_nsec = static_cast<long>((seconds - whole) * 1e9)};
}

}  // namespace platform
