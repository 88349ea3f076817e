#pragma once

#include <optional>

#include "platform/foundation/time/date.h"
#include "platform/foundation/time/time_zone.h"

namespace platform {

/// Converts between instants (`Date`) and civil time, which is a day and an hour in one time zone.
///
/// When a zone's offset changes, some civil times are skipped and some occur twice; in a few zones
/// that affects midnight or a whole day. A skipped civil time means the first instant after the
/// gap, a repeated one its first occurrence. All calendars that a device can be set to begin their
/// days at the same instants, so this class serves them all; the date formatter names days and
/// years.
class Calendar {
 public:
  /// The calendar of the device's current zone.
  static Calendar current();
  explicit Calendar(TimeZone zone) : zone_(std::move(zone)) {}

  /// The first instant of the civil day of `date`.
  Date startOfDay(Date date) const;
  bool isDateInSameDayAs(Date date, Date other) const;
  /// Today is the civil day of `Date::now()`.
  bool isDateInToday(Date date) const;
  bool isDateInYesterday(Date date) const;
  /// 0 to 23.
  int hour(Date date) const;

  /// The same civil time `days` days later; nothing beyond the distant past or future.
  std::optional<Date> dateByAddingDays(int days, Date date) const;

  /// `hour`:00:00 on the civil day of `date`. Nothing for an hour outside 0 to 23.
  std::optional<Date> dateBySettingHour(int hour, Date date) const;

  const TimeZone& timeZone() const { return zone_; }

 private:
  TimeZone zone_;
};

}  // namespace platform
