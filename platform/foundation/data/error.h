#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>

namespace platform {

/// An error in the platform's terms.
struct NSError {
  std::string domain;
  std::int64_t code = 0;
  /// A sentence for people.
  std::string localizedDescription;
  /// What is wrong with bad input, and where; empty if there is nothing to add.
  std::string debugDescription = {};

  friend bool operator==(const NSError&, const NSError&) = default;

  /// The printed form: `Error Domain=<domain> Code=<code> "<localizedDescription>"`, and
  /// ` UserInfo={NSDebugDescription=<debugDescription>}` if there is one.
  friend std::ostream& operator<<(std::ostream& out, const NSError& error) {
    out << "Error Domain=" << error.domain << " Code=" << error.code << " \""
        << error.localizedDescription << '"';
    if (!error.debugDescription.empty()) {
      out << " UserInfo={NSDebugDescription=" << error.debugDescription << '}';
    }
    return out;
  }
};

inline constexpr const char* NSCocoaErrorDomain = "NSCocoaErrorDomain";
/// The data is not in its format.
inline constexpr std::int64_t NSPropertyListReadCorruptError = 3840;
/// The format can't hold the value.
inline constexpr std::int64_t NSPropertyListWriteInvalidError = 3852;

/// The platform's two errors of serialisation; `detail` says what is wrong and where.
inline NSError readCorruptError(std::string detail) {
  return {NSCocoaErrorDomain,
          NSPropertyListReadCorruptError,
          "The data couldn’t be read because it isn’t in the correct format.",
          std::move(detail)};
}
inline NSError writeInvalidError(std::string detail) {
  return {NSCocoaErrorDomain,
          NSPropertyListWriteInvalidError,
          "The data couldn’t be written because it can’t be put into the format.",
          std::move(detail)};
}

}  // namespace platform
