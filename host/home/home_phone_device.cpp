#include "host/home/home_phone.h"
#include "host/phone/command_error.h"

// The device of the home screen's phone: its settings and its clock.

namespace host {

using namespace platform;

void HomePhone::systemZoneChanged() {
  if (!options_.timeZone.empty()) {
    return;
  }
  try {
    setDevice(options_);
  } catch (const CommandError& error) {
    note(error.what());
  }
}

void HomePhone::setDevice(const DeviceOptions& options) {
  const std::string before = deviceText();
  const Clock clock = settings().device.clock;
  const std::string locale = settings().device.locale;
  HostSettings fresh = settle(options);
  fresh.device.clock = clock;
  options_ = options;
  configure(std::move(fresh));
  if (settings().device.locale != locale) {
    try {
      host_.ensureExtension();
      host_.changeLocale();
    } catch (const CommandError& error) {
      note(error.what());
    }
    collectLog();
    for (const GalleryItem& item : host_.gallery()) {
      named(item.kind).item = item;
    }
  }
  if (deviceText() != before) {
    scheduler_.wantAll({ReloadCause::device, "the device's settings changed"});
  }
  redrawAll();
}

void HomePhone::setClock(Clock clock) {
  HostSettings fresh = settings();
  fresh.device.clock = clock;
  configure(std::move(fresh));
}

/// An extension that ends over it is told when it is started again.
void HomePhone::configure(HostSettings settings) {
  try {
    host_.configure(std::move(settings));
  } catch (const CommandError& error) {
    note(error.what());
  }
}

void HomePhone::travelTo(Date instant) {
  setClock(isRunning() ? Clock::shiftedBy(instant.timeIntervalSince1970() -
                                          Clock().now().timeIntervalSince1970())
                       : Clock::frozenAt(instant));
}

void HomePhone::travelToNow() {
  setClock({});
}

void HomePhone::setRunning(bool running) {
  if (running == isRunning()) {
    return;
  }
  const Date now = Date::now();
  setClock(Clock::frozenAt(now));
  if (running) {
    setClock(Clock::shiftedBy(now.timeIntervalSince1970() - Clock().now().timeIntervalSince1970()));
  }
}

bool HomePhone::isRunning() const {
  return settings().device.clock.kind != Clock::Kind::frozen;
}

Date HomePhone::nextMidnight() const {
  const Calendar calendar = Calendar::current();
  const Date today = calendar.startOfDay(Date::now());
  return calendar.startOfDay(calendar.dateByAddingDays(1, today).value_or(Date::distantFuture()));
}

/// What a timeline depends on besides the moment and the suite.
std::string HomePhone::deviceText() const {
  const Device& device = settings().device;
  const auto& version = device.systemVersion;
  const auto number = [](auto value) { return std::to_string(value) + " "; };
  return device.locale + " " + device.timeZone + " " + number(version.major) +
         number(version.minor) + number(version.patch) + number(settings().small.width) +
         number(settings().small.height) + number(settings().medium.width) +
         number(settings().medium.height);
}

}  // namespace host
