#pragma once

#include <cstdint>
#include <string>

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

/// The shared suite, or a `CommandError` that says it can't be opened.
platform::NSUserDefaults openSharedSuite();

/// Waits until what was written is on the disk.
void synchronize(platform::NSUserDefaults& suite);

}  // namespace host
