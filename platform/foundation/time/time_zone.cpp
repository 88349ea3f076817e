#include "platform/foundation/time/time_zone.h"

#include <absl/time/civil_time.h>
#include <absl/time/time.h>

#include <algorithm>
#include <array>

#include "platform/foundation/time/device.h"
#include "platform/support/require.h"

namespace platform {

namespace {

// What lies in the database's folder, or is known to its reader, without being a zone's name: the
// machine's own settings, the same zones once more, the last of them counting leap seconds.
constexpr std::array<std::string_view, 3> kNoZones = {"localtime", "posixrules", "UTC0"};
constexpr std::array<std::string_view, 2> kNoAreas = {"posix/", "right/"};

/// Whether the text has the form of a zone's name: parts between single slashes, as in
/// "America/Argentina/Buenos_Aires" and "Etc/GMT+5". So it can't lead out of the database's folder.
bool isZoneName(std::string_view text) {
  const auto isNameCharacter = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '+' || c == '-' || c == '/';
  };
  return !text.empty() && std::ranges::all_of(text, isNameCharacter) && !text.starts_with('/') &&
         !text.ends_with('/') && text.find("//") == std::string_view::npos &&
         std::ranges::find(kNoZones, text) == kNoZones.end() &&
         std::ranges::none_of(kNoAreas, [&](auto area) { return text.starts_with(area); });
}

}  // namespace

struct TimeZone::Impl {
  std::string identifier;
  absl::TimeZone zone;
};

std::optional<TimeZone> TimeZone::withIdentifier(std::string_view identifier) {
  if (!isZoneName(identifier)) {
    return std::nullopt;
  }
  // The reader keeps what it has read: a zone's second use costs a look-up.
  Impl impl{.identifier = std::string(identifier), .zone = {}};
  if (!absl::LoadTimeZone(impl.identifier, &impl.zone)) {
    return std::nullopt;
  }
  return TimeZone(std::make_shared<const Impl>(std::move(impl)));
}

TimeZone TimeZone::current() {
  // A device seldom moves, and every text and every day asks for its zone.
  thread_local std::optional<TimeZone> last;
  const std::string identifier = currentDevice().timeZone;
  if (!last || last->identifier() != identifier) {
    last =
        require(withIdentifier(identifier),
                "the tz database has no zone \"" + identifier + "\", which the device is set to");
  }
  return *last;
}

const std::string& TimeZone::identifier() const {
  return impl_->identifier;
}

int TimeZone::secondsFromGMT(Date date) const {
  return impl_->zone.At(absl::FromUnixSeconds(date.wholeSecondsSince1970())).offset;
}

Date TimeZone::firstDateShowing(std::int64_t wallSeconds) const {
  const auto found = impl_->zone.At(absl::CivilSecond() + wallSeconds);
  const absl::Time first =
      found.kind == absl::TimeZone::TimeInfo::SKIPPED ? found.trans : found.pre;
  return Date::since1970(static_cast<double>(absl::ToUnixSeconds(first)));
}

}  // namespace platform
