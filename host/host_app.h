#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/foundation/date.h"
#include "platform/foundation/user_defaults.h"

namespace host {

/// The suite that host app and extension share. The two are built apart on a phone and agree on
/// this name and the keys below, as their app group says.
inline constexpr const char* kSharedSuite = "group.com.quiloapp.sharedData";

/// Plays the host app: writes into the shared suite what it would write. Each returns once the data
/// is on the disk; a `CommandError` says what could not be done.
void signIn(const std::string& uid);
void signOut();
void recordStreak(std::int64_t count, platform::Date lastActive);

/// The moods that the app offers, from worst to best.
inline constexpr std::array<std::string_view, 5> kMoodNames = {
    "veryBad", "bad", "neutral", "well", "veryWell"};

/// Records the mood of the day of `moment` by the device's calendar, zone and digits, and keeps the
/// other days. A stored record that can't be read is left alone, with a `CommandError`.
void recordMood(const std::string& mood, platform::Date moment);

/// The shared suite, or a `CommandError` that says it can't be opened.
platform::NSUserDefaults openSharedSuite();

/// Waits until what was written is on the disk.
void synchronize(platform::NSUserDefaults& suite);

}  // namespace host
