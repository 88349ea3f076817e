#pragma once

#include <cstdint>
#include <stop_token>

#include "host/transfer/transfer_task.h"

namespace host {

/// How one attempt at a task ended.
struct AttemptEnd {
  enum class Kind : std::uint8_t { answered, lost, refused };
  /// After `lost` another attempt may succeed, after `refused` it can't.
  Kind kind = Kind::answered;
  TransferOutcome outcome = {};
  /// Whether a part of the request may have reached the server.
  bool sent = false;
};

/// Sends the request of a task, follows redirects, and writes the body of the answer to the
/// descriptor `body`. Blocks until the attempt has ended; returns at once when `stop` is requested.
/// Safe from any thread; each thread keeps its connections for its next attempt.
using TransferAttempt = AttemptEnd(const TransferTask& task, int body, std::stop_token stop);

/// The name under which the transfer module exports its TransferAttempt.
inline constexpr const char* kTransferAttempt = "glanceryAttemptTransfer";

}  // namespace host
