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

/// Whether the device runs that version of the system or a later one.
bool isOperatingSystemAtLeast(OperatingSystemVersion version);

/// Where a device takes the present instant from.
struct Clock {
  enum class Kind { running, shifted, standing };
  Kind kind = Kind::running;
  /// Seconds ahead of the system's clock, for a shifted clock.
  double shift = 0;
  /// The instant at which a standing clock stands.
  Date instant = Date::since1970(0);

  static Clock standingAt(Date instant) { return {Kind::standing, 0, instant}; }
  static Clock shiftedBy(double seconds) { return {Kind::shifted, seconds, Date::since1970(0)}; }
  Date now() const;
  friend bool operator==(const Clock&, const Clock&) = default;
};

/// The settings of the phone that the process runs on.
///
/// `Date::now`, `Calendar::current`, `Locale::current` and `TimeZone::current` read it at the
/// moment of the call. It is the only seam between product code and the world.
struct Device {
  Clock clock = {};
  /// An identifier of the system's tz database, such as "America/Mexico_City".
  std::string timeZone = "UTC";
  /// A locale identifier, such as "es_MX".
  std::string locale = "es_MX";
  /// The user's languages, most preferred first, as language tags ("es-MX", "en"); they choose the
  /// localisation. Empty: the locale's own.
  std::vector<std::string> languages = {};
  OperatingSystemVersion systemVersion = {};
  friend bool operator==(const Device&, const Device&) = default;
};

/// A copy of the present settings. Safe from any thread, as is setting them.
Device currentDevice();
void setCurrentDevice(Device device);

}  // namespace platform
