#pragma once

#include <cstddef>
#include <expected>
#include <filesystem>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/file_descriptor.h"
#include "host/transfer/transfer_task.h"

namespace host {

/// The tasks of one running host, on the disk.
///
/// A kill at any moment leaves every task that was added, each with what had become of it. Several
/// hosts may use one container: each keeps its tasks to itself while it lives, and they fall to
/// whoever adopts them once it is gone. Errors are sentences that name the file.
///
/// Nothing is touched before the first call. Used by one thread.
class TransferStore {
 public:
  explicit TransferStore(const std::filesystem::path& container);

  /// Adds tasks, all or none. They are on the disk, synced, when this returns; many at once cost
  /// little more than one.
  std::expected<std::vector<TransferTask>, std::string> add(
      std::span<const TransferRequest> requests, double now);

  /// Takes over what hosts that are gone have left, and removes what belongs to no task any more. A
  /// damaged journal is set aside under another name and reported; what can be read of it goes on.
  std::vector<TransferTask> adopt();

  /// Whether the task is, or was, one of this host.
  bool holds(std::string_view id) const;
  /// Where the body of a task goes.
  std::filesystem::path bodyOf(std::string_view id) const;

  // What became of a task. These are safe against the end of the process, not of the machine's
  // power: after that a task may be pending as it was when it was added.
  std::expected<void, std::string> keepWait(const TransferTask& task);
  /// Several at the cost of little more than one.
  std::expected<void, std::string> keepOutcomes(std::span<const TransferTask* const> tasks);
  /// Removes the task, but not its body: one that is left is removed at the next start.
  std::expected<void, std::string> remove(const std::string& id);
  std::expected<void, std::string> removeBody(const std::string& id);

  /// What went wrong beside the calls, a sentence each; handed out once.
  std::vector<std::string> takeReports() { return std::exchange(reports_, {}); }

 private:
  struct Held {
    std::filesystem::path path;
    /// The folder's own name, with which the ids of its tasks begin.
    std::string name;
    FileDescriptor lock;
    FileDescriptor journal = {};
    std::size_t length = 0;
    /// How many of the journal's tasks there still are.
    std::size_t tasks = 0;
    /// The length at which the journal is next written anew without its dead records.
    std::size_t renewAt = 0;
  };
  using Done = std::expected<void, std::string>;

  std::expected<Held*, std::string> ownFolder();
  /// Takes a folder over; false where another host holds it or it can't be used, which is reported.
  bool hold(const std::filesystem::path& folder);
  bool giveUp(const std::filesystem::path& folder, const std::string& why);
  Held* holderOf(std::string_view id);
  Done open(Held& held);
  Done append(Held* held, std::string_view records);
  Done renew(Held& held, const std::vector<TransferTask>& tasks);
  bool setAside(const Held& held, const std::vector<std::string>& damage);
  void clearBodies(const Held& held, std::vector<TransferTask>& tasks) const;

  std::filesystem::path transfers_;
  /// The first is where new tasks go.
  std::vector<Held> held_;
  /// Folders that could not be taken over, which has been said.
  std::set<std::filesystem::path> unusable_;
  /// Tasks of folders that were taken over and not handed out yet.
  std::vector<TransferTask> found_;
  std::vector<std::string> reports_;
};

}  // namespace host
