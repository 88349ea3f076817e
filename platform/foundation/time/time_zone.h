#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/time/date.h"

namespace platform {

/// A zone of the system's tz database, which is newer than ICU's own copy.
///
/// A cheap value; safe from any thread.
class TimeZone {
 public:
  /// Nothing for a name that is not in the database. The case of letters counts; paths and the
  /// machine's own "localtime" are not names.
  static std::optional<TimeZone> withIdentifier(std::string_view identifier);
  /// The device's current zone. Stops the process if the database has none of that name, which the
  /// host checks before it sets the device.
  static TimeZone current();

  const std::string& identifier() const;
  /// The offset from UTC at that instant, daylight saving included.
  int secondsFromGMT(Date date) const;

  /// The first instant with a civil time, which is given as seconds since 1970-01-01 00:00:00 of
  /// the same zone; the first instant after the gap if that time is skipped.
  Date firstDateShowing(std::int64_t wallSeconds) const;

 private:
  struct Impl;
  explicit TimeZone(std::shared_ptr<const Impl> impl) : impl_(std::move(impl)) {}

  std::shared_ptr<const Impl> impl_;
};

}  // namespace platform
