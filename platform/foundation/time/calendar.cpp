#include "platform/foundation/time/calendar.h"

#include <chrono>
#include <cstdint>

namespace platform {

namespace {

constexpr std::int64_t kSecondsPerHour = 3600;
constexpr std::int64_t kSecondsPerDay = 24 * kSecondsPerHour;

/// The civil time as seconds since 1970-01-01 00:00:00 of the same zone.
std::int64_t wallSeconds(const TimeZone& zone, Date date) {
  return date.wholeSecondsSince1970() + zone.secondsFromGMT(date);
}

/// The civil day as its number since 1970-01-01.
std::int64_t dayOf(std::int64_t wall) {
  return std::chrono::floor<std::chrono::days>(std::chrono::seconds(wall)).count();
}

std::int64_t dayOf(const TimeZone& zone, Date date) {
  return dayOf(wallSeconds(zone, date));
}

}  // namespace

Calendar Calendar::current() {
  return Calendar(TimeZone::current());
}

Date Calendar::startOfDay(Date date) const {
  return zone_.firstDateShowing(dayOf(zone_, date) * kSecondsPerDay);
}

bool Calendar::isDateInSameDayAs(Date date, Date other) const {
  return dayOf(zone_, date) == dayOf(zone_, other);
}

bool Calendar::isDateInToday(Date date) const {
  return isDateInSameDayAs(date, Date::now());
}

bool Calendar::isDateInYesterday(Date date) const {
  // Uses the last second before today, because a zone may have skipped the whole day before.
  return isDateInSameDayAs(date, startOfDay(Date::now()).addingTimeInterval(-1));
}

int Calendar::hour(Date date) const {
  const std::int64_t wall = wallSeconds(zone_, date);
  return static_cast<int>((wall - dayOf(wall) * kSecondsPerDay) / kSecondsPerHour);
}

std::optional<Date> Calendar::dateByAddingDays(int days, Date date) const {
  const auto ifInTime = [](Date result) {
    return result < Date::distantPast() || result > Date::distantFuture() ? std::nullopt
                                                                          : std::optional(result);
  };
  if (days == 0 || !ifInTime(date)) {
    // Adding nothing must not move a repeated civil time to its first occurrence.
    return ifInTime(date);
  }
  const std::int64_t wall = wallSeconds(zone_, date) + days * kSecondsPerDay;
  const Date first = zone_.firstDateShowing(wall);
  if (wallSeconds(zone_, first) != wall) {
    return ifInTime(first);  // Skipped: the first instant after the gap has no fraction.
  }
  const double fraction =
      date.timeIntervalSince1970() - static_cast<double>(date.wholeSecondsSince1970());
  return ifInTime(first.addingTimeInterval(fraction));
}

std::optional<Date> Calendar::dateBySettingHour(int hour, Date date) const {
  if (hour < 0 || hour > 23) {
    return std::nullopt;
  }
  return zone_.firstDateShowing(dayOf(zone_, date) * kSecondsPerDay + hour * kSecondsPerHour);
}

}  // namespace platform
