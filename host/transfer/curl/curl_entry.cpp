#include <type_traits>

#include "host/transfer/curl/curl_engine.h"
#include "host/transfer/transfer_module.h"

extern "C" __attribute__((visibility("default"))) void glanceryOpenTransferEngine(
    std::expected<std::unique_ptr<host::TransferEngine>, std::string>& result) {
  static_assert(std::is_same_v<decltype(glanceryOpenTransferEngine), host::TransferEntry>);
  result = host::openCurlEngine();
}
