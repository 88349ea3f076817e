#pragma once

#include <expected>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "host/transfer/file_descriptor.h"
#include "host/transfer/transfer_folder.h"
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

  /// Takes over what hosts that are gone have left, and clears their refuse away. Damaged records
  /// are set aside under another name and reported.
  std::vector<TransferTask> adopt();

  /// Where the body of a task goes.
  std::filesystem::path bodyOf(const std::string& id) const;

  // What became of a task. These are safe against the end of the process, not of the machine's
  // power: after that the task is pending as it was when it was added.
  std::expected<void, std::string> keepWait(const TransferTask& task);
  std::expected<void, std::string> keepOutcome(const TransferTask& task);
  std::expected<void, std::string> remove(const std::string& id);

  /// What went wrong beside the calls, a sentence each; handed out once.
  std::vector<std::string> takeReports() { return std::exchange(reports_, {}); }

 private:
  struct Held {
    std::filesystem::path path;
    FileDescriptor lock;
  };

  std::expected<const Held*, std::string> ownFolder();
  bool hold(const std::filesystem::path& folder);
  bool holds(const std::filesystem::path& folder) const;
  void clear(const FolderContents& contents);
  void setAside(const std::filesystem::path& file, const std::string& reason);

  std::filesystem::path transfers_;
  /// The first is where new tasks go.
  std::vector<Held> held_;
  /// Tasks that were found in the first folder when it was taken to add one.
  std::vector<TransferTask> found_;
  std::vector<std::string> reports_;
};

}  // namespace host
