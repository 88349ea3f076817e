#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace platform {

/// An instant, in seconds since 1970-01-01 00:00:00 UTC, without a zone or a calendar.
///
/// Fractions are kept to the precision of a double (better than a microsecond until the year 2100).
/// Equality and order are those of the seconds. A date is never NaN.
class Date {
 public:
  static constexpr Date since1970(double seconds) { return Date(seconds); }
  /// The present instant by the device's clock.
  static Date now();
  /// The platform's far ends of time, both at 00:00 UTC: 0001-01-01 of the Julian calendar, which
  /// the Gregorian one calls 0000-12-30, and 4001-01-01.
  static constexpr Date distantPast() { return Date(-62135769600.0); }
  static constexpr Date distantFuture() { return Date(64092211200.0); }

  constexpr double timeIntervalSince1970() const { return seconds_; }
  constexpr Date addingTimeInterval(double seconds) const { return Date(seconds_ + seconds); }

  /// The second that contains the instant: fractions are cut off toward the past. Clamped to 2^53,
  /// beyond which doubles no longer tell seconds apart.
  std::int64_t wholeSecondsSince1970() const;

  /// The standard description: "2023-11-14 22:13:20 +0000", in UTC, fractions cut off (toward the
  /// past); "<description unavailable>" outside the distant past and future.
  std::string description() const;

  /// ISO 8601 in UTC with milliseconds, "2023-11-14T22:13:20.000Z"; rounded to the millisecond.
  /// "<description unavailable>" for years that four digits can't hold.
  std::string iso8601() const;

  /// Reads ISO 8601 with a zone: "2023-11-14T22:13:20Z", "...22:13:20.25+01:00", "...22:13Z".
  /// Nothing for any other form or a date or time that does not exist.
  static std::optional<Date> fromISO8601(std::string_view text);

  friend constexpr auto operator<=>(Date, Date) = default;
  friend std::ostream& operator<<(std::ostream& out, Date date) {
    return out << date.description();
  }

 private:
  constexpr explicit Date(double seconds) : seconds_(seconds) {}

  double seconds_ = 0;
};

}  // namespace platform
