#include "host/transfer/transfer_attempt.h"

#include <system_error>

#include "platform/foundation/module_library.h"

namespace host {

std::filesystem::path transferLibrary() {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path() /
         "libglancery_transfer.so";
}

std::expected<TransferAttempt*, std::string> loadTransferAttempt(
    const std::filesystem::path& library) {
  const auto entry = platform::openModule(library, kTransferAttempt);
  if (!entry) {
    return std::unexpected(entry.error());
  }
  return reinterpret_cast<TransferAttempt*>(*entry);
}

}  // namespace host
