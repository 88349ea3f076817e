#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/time/date.h"

namespace platform {

/// A zone of the system's tz database, which is newer than the copy that ICU carries.
///
/// A cheap value; safe from any thread.
class TimeZone {
 public:
  /// Nothing for a name that the database does not have: the spelling is exact, and neither a path
  /// nor the machine's own "localtime" is a name.
  static std::optional<TimeZone> withIdentifier(std::string_view identifier);
  /// The device's zone at the moment of the call. Whoever sets the device has checked the name, so
  /// one that the database does not have stops the process.
  static TimeZone current();

  const std::string& identifier() const;
  /// The offset from UTC at that instant, daylight saving included.
  int secondsFromGMT(Date date) const;

  /// The first instant at which the zone's clocks show a time on the wall, which is counted in
  /// seconds since 1970-01-01 00:00:00 on that wall. A skipped time stands for the first instant
  /// after the gap.
  Date firstDateShowing(std::int64_t wallSeconds) const;

 private:
  struct Impl;
  explicit TimeZone(std::shared_ptr<const Impl> impl) : impl_(std::move(impl)) {}

  std::shared_ptr<const Impl> impl_;
};

}  // namespace platform
