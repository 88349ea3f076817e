#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/date.h"

namespace platform {

/// A zone of the system's tz database, which is newer than the copy that ICU carries.
///
/// A cheap value; safe from any thread.
class TimeZone {
 public:
  /// Nothing for a name that the database does not have.
  static std::optional<TimeZone> withIdentifier(std::string_view identifier);
  /// The device's zone at the moment of the call.
  static TimeZone current();

  const std::string& identifier() const;
  /// The offset from UTC at that instant, daylight saving included.
  int secondsFromGMT(Date date) const;

  /// The database's own view of the zone, for the calendar.
  struct Impl;
  const Impl& impl() const { return *impl_; }

 private:
  explicit TimeZone(std::shared_ptr<const Impl> impl) : impl_(std::move(impl)) {}

  std::shared_ptr<const Impl> impl_;
};

}  // namespace platform
