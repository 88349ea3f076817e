#pragma once

#include <memory>
#include <string>

#include "platform/foundation/locale/locale.h"
#include "platform/foundation/time/date.h"

namespace platform {

/// Formats dates by a Unicode date pattern, in the device's calendar, digits and zone.
///
/// `stringFromDate` uses the device's current zone, and its current locale unless one was set. A
/// pattern with unknown letters stops the process, as do time zone letters, which are not
/// implemented. Days before 15 October 1582 are Julian, as on the platform. Without a pattern the
/// text is empty.
///
/// The first text of a locale takes about 0.3 ms, every further one of the same formatter less than
/// 1 us. A formatter must not be used by two threads at once.
class NSDateFormatter {
 public:
  NSDateFormatter();
  ~NSDateFormatter();
  NSDateFormatter(NSDateFormatter&&) noexcept;
  NSDateFormatter& operator=(NSDateFormatter&&) noexcept;

  void setLocale(Locale locale);
  void setDateFormat(std::string pattern);
  std::string stringFromDate(Date date) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace platform
