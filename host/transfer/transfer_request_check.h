#pragma once

#include <expected>
#include <string>

#include "host/transfer/transfer_task.h"

namespace host {

/// Whether the request can be put into the lines of an HTTP message as it is; the error names what
/// can't. Whether its address leads anywhere is found out when it is tried.
std::expected<void, std::string> checkRequest(const TransferRequest& request);

}  // namespace host
