#pragma once

#include <expected>
#include <memory>
#include <string>

#include "host/transfer/transfer_engine.h"

namespace host {

/// The engine, as the transfer module exports it under `kTransferEntry`.
using TransferEntry = void(std::expected<std::unique_ptr<TransferEngine>, std::string>& result);
inline constexpr const char* kTransferEntry = "glanceryOpenTransferEngine";

}  // namespace host
