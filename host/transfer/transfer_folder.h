#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/transfer/transfer_task.h"

// How tasks lie on the disk: `<container>/Library/Transfers/<number>/<id>.<part>`, where the id
// begins with the folder's number. Each running host holds folders of its own by a lock on them,
// and whoever finds one unlocked may take it over with everything in it.
//
//   .task     what was asked; on the disk before the task counts as added, never changed
//   .wait     attempts made in vain; without it the task is tried at once
//   .outcome  how it ended
//   .body     the body as it comes, and the whole of it once there is an outcome
//
// Parts are written under another name and renamed, so they are there as a whole or not at all. A
// task ends to exist when its .task is removed; the rest without one is refuse.

namespace host {

std::filesystem::path transfersFolder(const std::filesystem::path& container);

/// The folder that a task's id names; empty for what can't be an id.
std::filesystem::path folderOf(const std::filesystem::path& transfers, std::string_view id);

enum class TransferPart : std::uint8_t { task, wait, outcome, body };

std::filesystem::path partOf(const std::filesystem::path& transfers,
                             std::string_view id,
                             TransferPart part);

/// A file that is no record of its kind.
struct DamagedRecord {
  std::filesystem::path file;
  std::string reason;
};

/// What a folder holds at one moment; another process may be at work in it.
struct FolderContents {
  /// In the order in which they were added.
  std::vector<TransferTask> tasks;
  /// Damaged records, in place or set aside before. Without its .wait a task is tried at once,
  /// without its .outcome again.
  std::vector<DamagedRecord> damaged;
  /// Files that belong to nothing any more.
  std::vector<std::filesystem::path> refuse;
};

FolderContents readFolder(const std::filesystem::path& folder);

/// The folders under `transfers`, in the order of their numbers.
std::vector<std::filesystem::path> foldersIn(const std::filesystem::path& transfers);

/// Whether the file was set aside as damaged.
bool isSetAside(const std::filesystem::path& file);

}  // namespace host
