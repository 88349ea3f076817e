#include "host/transfer/transfer_cancellation.h"

#include <system_error>

#include "platform/foundation/files.h"

namespace host {

namespace fs = std::filesystem;

namespace {

fs::path folderFor(const fs::path& transfers) {
  return transfers / "cancel";
}

}  // namespace

std::expected<void, std::string> requestCancellation(const fs::path& transfers,
                                                     const std::string& id) {
  const fs::path file = folderFor(transfers) / id;
  std::error_code error;
  fs::create_directory(folderFor(transfers), error);
  error = platform::writeFile(file, "");
  if (error) {
    return std::unexpected("can't create " + file.string() + ": " + error.message());
  }
  return {};
}

std::vector<std::string> cancellations(const fs::path& transfers) {
  std::vector<std::string> ids;
  std::error_code error;
  for (fs::directory_iterator entry(folderFor(transfers), error), end; !error && entry != end;
       entry.increment(error)) {
    ids.push_back(entry->path().filename().string());
  }
  return ids;
}

void dropCancellation(const fs::path& transfers, const std::string& id) {
  std::error_code ignored;
  fs::remove(folderFor(transfers) / id, ignored);
}

}  // namespace host
