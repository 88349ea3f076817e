#include "host/home/device_clock.h"

#include "platform/foundation/time/calendar.h"

namespace host {

using namespace platform;

bool isRunning(const Clock& clock) {
  return clock.kind != Clock::Kind::frozen;
}

Clock clockAt(Date instant, bool running) {
  return running ? Clock::shiftedBy(instant.timeIntervalSince1970() -
                                    Clock().now().timeIntervalSince1970())
                 : Clock::frozenAt(instant);
}

Date nextMidnight() {
  const Calendar calendar = Calendar::current();
  const Date today = calendar.startOfDay(Date::now());
  return calendar.startOfDay(calendar.dateByAddingDays(1, today).value_or(Date::distantFuture()));
}

}  // namespace host
