#pragma once

namespace glancery {

/// Whether a user is signed in to the host app, by the identifier that the app leaves in the shared
/// suite. Looks anew at every call; a suite that can't be opened means no user.
bool hasSharedUid();

}  // namespace glancery
