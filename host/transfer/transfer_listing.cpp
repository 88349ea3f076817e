#include "host/transfer/transfer_listing.h"

#include <algorithm>

namespace host {

TransferListing listTransfers(const std::filesystem::path& container) {
  TransferListing listing;
  for (const auto& folder : foldersIn(transfersFolder(container))) {
    FolderContents contents = readFolder(folder);
    std::ranges::move(contents.tasks, std::back_inserter(listing.tasks));
    std::ranges::move(contents.damaged, std::back_inserter(listing.damaged));
  }
  std::ranges::sort(listing.tasks, {}, [](const TransferTask& task) {
    return std::tuple(
        task.outcome.has_value(), task.outcome ? task.outcome->order : 0, task.created, task.id);
  });
  return listing;
}

}  // namespace host
