#pragma once

#include "host/transfer/transfer_engine.h"

namespace host {

/// libcurl's multi interface behind one descriptor: HTTP/1.1 and 2, certificates verified (against
/// the file that SSL_CERT_FILE names, where it is set), the system's proxies but for loopback,
/// which never goes through one.
std::expected<std::unique_ptr<TransferEngine>, std::string> openCurlEngine();

}  // namespace host
