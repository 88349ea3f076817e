#include "platform/foundation/time/device.h"

#include <charconv>
#include <chrono>
#include <mutex>
#include <utility>

namespace platform {

namespace {

struct Settings {
  std::mutex mutex;
  Device device;
};

/// Never destroyed: threads may still ask for the time while the process exits.
Settings& settings() {
  static Settings& instance = *new Settings;
  return instance;
}

}  // namespace

std::optional<OperatingSystemVersion> parseOperatingSystemVersion(std::string_view text) {
  OperatingSystemVersion version{.major = 0};
  const char* position = text.data();
  const char* const end = position + text.size();
  for (int* part : {&version.major, &version.minor, &version.patch}) {
    const auto [next, error] = std::from_chars(position, end, *part);
    if (error != std::errc() || *position == '-') {
      return std::nullopt;
    }
    if (next == end) {
      return version;
    }
    if (*next != '.') {
      return std::nullopt;
    }
    position = next + 1;
  }
  return std::nullopt;
}

bool isOperatingSystemAtLeast(OperatingSystemVersion version) {
  const std::scoped_lock lock(settings().mutex);
  return settings().device.systemVersion >= version;
}

Date Clock::now() const {
  if (kind == Kind::standing) {
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
