#pragma once

#include <filesystem>
#include <vector>

#include "host/transfer/transfer_folder.h"

namespace host {

/// Everything that any host keeps in a container.
struct TransferListing {
  /// Pending tasks in the order in which they were added, then ended ones in the order of their
  /// end.
  std::vector<TransferTask> tasks;
  std::vector<DamagedRecord> damaged;
};

/// Reads and changes nothing, whoever is at work meanwhile.
TransferListing listTransfers(const std::filesystem::path& container);

}  // namespace host
