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

/// A key that the host app writes, and the kind of the widget that it reloads then; empty for
/// all widgets.
struct HostAppKey {
  std::string_view key;
  std::string_view kind;
};
inline constexpr std::array kHostAppKeys = {
    HostAppKey{glancery::kSharedUidKey, ""},
    HostAppKey{glancery::kStreakDataKey, glancery::kStreakKind},
    HostAppKey{glancery::kMoodsDataKey, glancery::kBinnacleKind}};

// What the host app writes into the shared suite. These functions return once the data is on the
// disk; a `HostError` says what failed, an `InvalidValue` which value is not valid.

void signIn(const std::string& uid);
void signOut();
void recordStreak(std::int64_t count, platform::Date lastActive);

/// Records the mood of a day, such as "2026-03-05" in the Gregorian calendar and the device's zone,
/// or of today, and keeps the other days. The key is the day in the device's calendar and digits. A
/// stored record that can't be read is left unchanged, with a `HostError`.
void recordNamedMood(const std::string& mood, const std::optional<std::string>& day);

/// The instant of an ISO 8601 text, now for an empty one; `name` names it in an `InvalidValue`.
platform::Date instantOf(const std::string& text, const std::string& name);

/// The JSON object that is stored as data under the key; nothing if there is none that can be read.
std::optional<platform::Dictionary> recordIn(const platform::Dictionary& suite,
                                             std::string_view key);

/// The whole shared suite, empty if it does not exist. A `HostError` says why it can't be read, or
/// what is damaged.
platform::Dictionary readSharedSuite();

/// Lets `edit` change the shared suite while no other process writes to it. A `HostError` says why
/// the result could not be stored; the suite is unchanged then.
void changeSharedSuite(const platform::SuiteFile::Edit& edit);

/// The same, and returns once the result is on the disk.
void saveSharedSuite(const platform::SuiteFile::Edit& edit);

}  // namespace host
