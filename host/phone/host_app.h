#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/defaults/suite_file.h"
#include "platform/foundation/time/date.h"
#include "store/shared_store.h"

namespace host {

/// What the host app keeps in the suite, and the widget that it has reloaded when it changes that;
/// none: all of them.
struct HostAppKey {
  std::string_view key;
  std::string_view kind;
};
inline constexpr std::array kHostAppKeys = {
    HostAppKey{glancery::kSharedUidKey, ""},
    HostAppKey{glancery::kStreakDataKey, glancery::kStreakKind},
    HostAppKey{glancery::kMoodsDataKey, glancery::kBinnacleKind}};

/// Plays the host app: writes into the shared suite what it would write. Each returns once the data
/// is on the disk; a `CommandError` says what could not be done or names what can't be right.
void signIn(const std::string& uid);
void signOut();
void recordStreak(std::int64_t count, platform::Date lastActive);

/// Records the mood of a day, "2026-03-05" in the common calendar and the device's zone, today
/// where none is given, under its name in the device's calendar and digits, and keeps the other
/// days. A stored record that can't be read is left alone, with a `CommandError`.
void recordNamedMood(const std::string& mood, const std::optional<std::string>& day);

/// The instant of an ISO 8601 text, now for an empty one; `what` names it in the error.
platform::Date instantOf(const std::string& text, const std::string& what);

/// The whole shared suite, empty if there is none yet. A `CommandError` says that it can't be
/// opened or read, or what is damaged in it.
platform::Dictionary readSharedSuite();

/// Lets `edit` change the shared suite while no other process writes to it. A `CommandError` says
/// why the result could not be stored; the suite then holds what it held before.
void changeSharedSuite(const platform::SuiteFile::Edit& edit);

/// Changes the shared suite and returns once the result is on the disk.
void saveSharedSuite(const platform::SuiteFile::Edit& edit);

}  // namespace host
