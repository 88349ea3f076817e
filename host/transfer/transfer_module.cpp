#include "host/transfer/transfer_module.h"

#include <system_error>

#include "platform/foundation/module_library.h"

namespace host {

std::filesystem::path transferLibrary() {
  std::error_code ignored;
  return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path() /
         "libglancery_transfer.so";
}

std::expected<std::unique_ptr<TransferEngine>, std::string> loadTransferEngine(
    const std::filesystem::path& library) {
  const auto entry = platform::openModule(library, kTransferEntry);
  if (!entry) {
    return std::unexpected(entry.error());
  }
  std::expected<std::unique_ptr<TransferEngine>, std::string> result;
  reinterpret_cast<TransferEntry*> (*entry)(result);
  return result;
}

}  // namespace host
