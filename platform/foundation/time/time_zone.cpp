#include "platform/foundation/time/time_zone.h"

#include <absl/strings/ascii.h>
#include <absl/time/civil_time.h>
#include <absl/time/time.h>

#include <algorithm>

#include "platform/foundation/time/device.h"
#include "platform/support/require.h"

namespace platform {

namespace {

/// Whether the text has the form of a zone's name: parts between single slashes, as in
/// "America/Argentina/Buenos_Aires" and "Etc/GMT+5". So it can't lead out of the database's folder.
/// Excludes what the folder or its reader knows besides: the machine's own settings, and the same
/// zones again, the last of them counting leap seconds.
bool isZoneName(std::string_view text) {
  const auto isNameCharacter = [](unsigned char c) {
    return absl::ascii_isalnum(c) || c == '_' || c == '+' || c == '-' || c == '/';
  };
  return !text.empty() && std::ranges::all_of(text, isNameCharacter) && !text.starts_with('/') &&
         !text.ends_with('/') && text.find("//") == text.npos && text != "localtime" &&
         text != "posixrules" && text != "UTC0" && !text.starts_with("posix/") &&
         !text.starts_with("right/");
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
  // Abseil caches the zones that it has loaded.
  Impl impl{.identifier = std::string(identifier), .zone = {}};
  if (!absl::LoadTimeZone(impl.identifier, &impl.zone)) {
    return std::nullopt;
  }
  return TimeZone(std::make_shared<const Impl>(std::move(impl)));
}

TimeZone TimeZone::current() {
  // Every text and every day needs the zone, which seldom changes.
  thread_local std::optional<TimeZone> last;
  const std::string identifier = currentDevice().timeZone;
  if (!last || last->identifier() != identifier) {
    last = withIdentifier(identifier);
  }
  if (!last) {
    fatalError("the tz database has no zone \"" + identifier + "\", which the device is set to");
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
