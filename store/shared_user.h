#pragma once

#include <optional>
#include <string>

namespace glancery {

/// The identifier that the host app stores under `key` for its signed-in user; nothing if it is
/// absent, empty or not a string, or the suite can't be opened. Not cached.
std::optional<std::string> signedInUid(const std::string& suiteName, const std::string& key);

/// Whether a user is signed in to the host app, according to `signedInUid`.
bool hasSharedUid();

}  // namespace glancery
