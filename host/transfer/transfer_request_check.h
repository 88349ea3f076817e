#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "host/transfer/transfer_task.h"

namespace host {

/// Whether the request can be put into an HTTP message as it is; the error names what can't. Whether
/// its URL can be reached is found out by trying.
std::expected<void, std::string> checkRequest(const TransferRequest& request);

/// Whether the URL's scheme is http or https.
bool isTransferable(std::string_view url);

}  // namespace host
