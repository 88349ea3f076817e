#pragma once

#include <functional>

namespace host {

/// What a campaign has done so far.
struct KillFigures {
  int rounds = 0;
  /// The processes that were killed.
  int hosts = 0;
  int extensions = 0;
  int writers = 0;
  /// The requests that the server has received.
  int requests = 0;

  int kills() const { return hosts + extensions + writers; }
};

/// Kills hosts, extensions and processes of the host app at random times, and checks what they
/// leave: nothing that was acknowledged is lost, no day is without its affirmation, no file is left
/// over. Every round is another day with another user: two hosts are killed, in turn or both at
/// once, and a third one completes all downloads.
///
/// Calls `progress` after every round. Throws a `BrokenPromise` that names the container, which is
/// kept then. Becomes the parent of orphans, so nothing else may run in this process.
KillFigures playKills(int kills, const std::function<void(const KillFigures&)>& progress);

}  // namespace host
