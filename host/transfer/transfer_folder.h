#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/transfer/transfer_record.h"

// How tasks lie on the disk: `<container>/Library/Transfers/<number>/` holds a journal of them and
// a file `<id>.body` for each that has begun to arrive; a task's id begins with the folder's
// number. Each running host holds folders of its own by a lock on them and is the only one that
// writes there. Whoever finds one unlocked may take it over with everything in it.

namespace host {

std::filesystem::path transfersFolder(const std::filesystem::path& container);

/// The folder that a task's id names; empty for what can't be an id.
std::filesystem::path folderOf(const std::filesystem::path& transfers, std::string_view id);
std::string bodyNameOf(std::string_view id);
std::filesystem::path bodyOf(const std::filesystem::path& transfers, std::string_view id);
std::filesystem::path journalOf(const std::filesystem::path& folder);

/// The folders under `transfers`, in the order of their numbers.
std::vector<std::filesystem::path> foldersIn(const std::filesystem::path& transfers);

/// The folder's journal, which another process may be writing. One that can't be read is damaged as
/// a whole, a missing one is empty.
Journal readFolder(const std::filesystem::path& folder);

/// Copies of damaged journals that were set aside in the folder.
std::vector<std::filesystem::path> setAsideIn(const std::filesystem::path& folder);

}  // namespace host
