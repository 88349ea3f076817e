#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/transfer/transfer_task.h"

namespace host {

/// A file that is no journal of tasks in some place.
struct DamagedJournal {
  std::filesystem::path file;
  std::string reason;
};

/// Everything that any host keeps in a container.
struct TransferListing {
  /// Pending tasks in the order in which they were added, then ended ones in the order of their
  /// end.
  std::vector<TransferTask> tasks;
  /// Damage in place, and copies of damaged journals that were set aside.
  std::vector<DamagedJournal> damaged;
};

/// Reads and changes nothing, whoever is at work meanwhile.
TransferListing listTransfers(const std::filesystem::path& container);

}  // namespace host
