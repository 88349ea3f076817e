#pragma once

#include <cstdint>
#include <ostream>
#include <string>

namespace platform {

/// What went wrong, as the platform tells it.
struct NSError {
  std::string domain;
  std::int64_t code = 0;
  /// A sentence for people; for bad input it says what and where.
  std::string localizedDescription;

  /// The printed form: `Error Domain=<domain> Code=<code> "<localizedDescription>"`.
  friend std::ostream& operator<<(std::ostream& out, const NSError& error) {
    return out << "Error Domain=" << error.domain << " Code=" << error.code << " \""
               << error.localizedDescription << '"';
  }
};

inline constexpr const char* NSCocoaErrorDomain = "NSCocoaErrorDomain";
/// Reading data that is not in its format.
inline constexpr std::int64_t NSPropertyListReadCorruptError = 3840;

}  // namespace platform
