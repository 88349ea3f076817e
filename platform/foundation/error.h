#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace platform {

/// What went wrong, as the platform tells it.
struct NSError {
  std::string domain;
  std::int64_t code = 0;
  /// A sentence for people; for bad input it says what and where.
  std::string localizedDescription;

  friend bool operator==(const NSError&, const NSError&) = default;

  /// The printed form: `Error Domain=<domain> Code=<code> "<localizedDescription>"`.
  friend std::ostream& operator<<(std::ostream& out, const NSError& error) {
    return out << "Error Domain=" << error.domain << " Code=" << error.code << " \""
               << error.localizedDescription << '"';
  }
};

inline constexpr const char* NSCocoaErrorDomain = "NSCocoaErrorDomain";
/// Reading data that is not in its format.
inline constexpr std::int64_t NSPropertyListReadCorruptError = 3840;
/// Writing a value that the format can't hold.
inline constexpr std::int64_t NSPropertyListWriteInvalidError = 3852;

/// The two errors of serialisation, in the platform's words; `detail` says what is wrong and where.
inline NSError readCorruptError(std::string_view detail) {
  return {NSCocoaErrorDomain,
          NSPropertyListReadCorruptError,
          "The data couldn’t be read because it isn’t in the correct format. (" +
              std::string(detail) + ")"};
}
inline NSError writeInvalidError(std::string_view detail) {
  return {NSCocoaErrorDomain,
          NSPropertyListWriteInvalidError,
          "The data couldn’t be written because it can’t be put into the format. (" +
              std::string(detail) + ")"};
}

}  // namespace platform
