#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/time/date.h"

namespace platform {

/// The operating system's version; a missing part is 0.
struct OperatingSystemVersion {
  int major = 17;
  int minor = 0;
  int patch = 0;
  friend auto operator<=>(const OperatingSystemVersion&, const OperatingSystemVersion&) = default;
};

/// "17", "17.0" or "16.4.1"; nothing for anything else.
std::optional<OperatingSystemVersion> parseOperatingSystemVersion(std::string_view text);

/// Whether the device's system has that version or a later one.
bool isOperatingSystemAtLeast(OperatingSystemVersion version);

/// The source of the present instant.
struct Clock {
  enum class Kind { running, shifted, frozen };
  Kind kind = Kind::running;
  /// For a shifted clock: seconds ahead of the system's clock.
  double shift = 0;
  /// For a frozen clock.
  Date instant = Date::since1970(0);

  static Clock frozenAt(Date instant) { return {Kind::frozen, 0, instant}; }
  static Clock shiftedBy(double seconds) { return {Kind::shifted, seconds, Date::since1970(0)}; }
  Date now() const;
  friend bool operator==(const Clock&, const Clock&) = default;
};

/// The phone's settings. `Date::now`, `Calendar::current`, `Locale::current` and
/// `TimeZone::current` read them at every call; tests set them.
struct Device {
  Clock clock = {};
  /// An identifier of the system's tz database, such as "America/Mexico_City".
  std::string timeZone = "UTC";
  /// A locale identifier, such as "es_MX".
  std::string locale = "es_MX";
  /// The user's languages, most preferred first, as language tags ("es-MX", "en"). They determine
  /// the localisation; if empty, the locale does.
  std::vector<std::string> languages = {};
  OperatingSystemVersion systemVersion = {};
  friend bool operator==(const Device&, const Device&) = default;
};

/// A copy of the current settings. Both functions are safe from any thread.
Device currentDevice();
void setCurrentDevice(Device device);

}  // namespace platform
