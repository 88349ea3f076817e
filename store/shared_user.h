#pragma once

#include <optional>
#include <string>

namespace glancery {

/// The identifier that the host app leaves under `key` for its signed-in user; nothing where it is
/// absent, empty or no string, or the suite can't be opened. Looks anew at every call.
std::optional<std::string> signedInUid(const std::string& suiteName, const std::string& key);

/// Whether a user is signed in to the host app, by the identifier that the app leaves in the shared
/// suite. Looks anew at every call; a suite that can't be opened means no user.
bool hasSharedUid();

}  // namespace glancery
