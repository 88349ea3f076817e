#include "host/transfer/transfer_listing.h"

#include <algorithm>
#include <tuple>

#include "host/transfer/transfer_folder.h"

namespace host {

TransferListing listTransfers(const std::filesystem::path& container) {
  TransferListing listing;
  for (const auto& folder : foldersIn(transfersFolder(container))) {
    Journal journal = readFolder(folder);
    std::ranges::move(journal.tasks, std::back_inserter(listing.tasks));
    for (const std::string& reason : journal.damage) {
      listing.damaged.push_back({journalOf(folder), reason});
    }
    for (const auto& file : setAsideIn(folder)) {
      listing.damaged.push_back({file, "set aside before"});
    }
  }
  std::ranges::sort(listing.tasks, {}, [](const TransferTask& task) {
    return std::tuple(
        task.outcome.has_value(), task.outcome ? task.outcome->order : 0, task.created, task.id);
  });
  return listing;
}

}  // namespace host
