#pragma once

#include <optional>

#include "platform/foundation/time/date.h"
#include "platform/foundation/time/time_zone.h"

namespace platform {

/// Days and hours as people in one time zone count them.
///
/// Civil time (a day and a time on the wall) and absolute time (`Date`) part ways where a zone's
/// offset changes: some civil times are skipped, some happen twice, and in a few zones that befalls
/// midnight or a whole day. A skipped time stands for the first instant after the gap, a repeated
/// one for its first occurrence. Every calendar a device can be set to agrees on where days begin
/// and end, so one engine serves them all; names and numbers of years are the date formatter's.
class Calendar {
 public:
  /// The calendar of the device's zone at the moment of the call.
  static Calendar current();
  explicit Calendar(TimeZone zone) : zone_(std::move(zone)) {}

  /// The first instant of the civil day of `date`.
  Date startOfDay(Date date) const;
  bool isDateInSameDayAs(Date date, Date other) const;
  /// By the present instant.
  bool isDateInToday(Date date) const;
  bool isDateInYesterday(Date date) const;
  /// 0 to 23.
  int hour(Date date) const;

  /// The same time on the wall, `days` days later; nothing where the calendar has no such day any
  /// more (beyond the distant past or future).
  std::optional<Date> dateByAddingDays(int days, Date date) const;

  /// The given hour, minute 0, second 0 on the day of `date`: the next existing time if it is
  /// skipped, its first occurrence if it is repeated. Nothing for an hour that no day has.
  std::optional<Date> dateBySettingHour(int hour, Date date) const;

  const TimeZone& timeZone() const { return zone_; }

 private:
  TimeZone zone_;
};

}  // namespace platform
