#include "platform/foundation/time/device.h"

#include <chrono>
#include <cstdio>
#include <mutex>
#include <utility>

#include "platform/support/pattern.h"

namespace platform {

namespace {

struct Settings {
  std::mutex mutex;
  Device device;
};

/// Never destroyed: other threads may still read the time while the process exits.
Settings& settings() {
  static Settings& instance = *new Settings;
  return instance;
}

}  // namespace

std::optional<OperatingSystemVersion> parseOperatingSystemVersion(std::string_view text) {
  static const Pattern form("[0-9]{1,9}([.][0-9]{1,9}){0,2}");
  if (!form.matches(text)) {
    return std::nullopt;
  }
  OperatingSystemVersion version;
  std::sscanf(
      std::string(text).c_str(), "%d.%d.%d", &version.major, &version.minor, &version.patch);
  return version;
}

bool isOperatingSystemAtLeast(OperatingSystemVersion version) {
  const std::scoped_lock lock(settings().mutex);
  return settings().device.systemVersion >= version;
}

Date Clock::now() const {
  if (kind == Kind::frozen) {
    return instant;
  }
  const std::chrono::duration<double> running = std::chrono::system_clock::now().time_since_epoch();
  return Date::since1970(running.count() + (kind == Kind::shifted ? shift : 0));
}

Device currentDevice() {
  const std::scoped_lock lock(settings().mutex);
  return settings().device;
}

// Here and not in date.cpp, so that programs that only handle dates don't contain the device.
Date Date::now() {
  return currentDevice().clock.now();
}

void setCurrentDevice(Device device) {
  const std::scoped_lock lock(settings().mutex);
  std::swap(settings().device, device);
}

}  // namespace platform
