#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "host/transfer/transfer_task.h"

// How the parts of a task are written to its files: CBOR behind a checksum, so that a file which
// was cut or changed is told from one that is whole.

namespace host {

/// A task's identity, request and date, without what became of it.
std::string encodeTask(const TransferTask& task);
std::string encodeWait(const TransferWait& wait);
std::string encodeOutcome(const TransferOutcome& outcome);

/// Each takes bytes that nobody has checked; the error says what is wrong with them.
std::expected<TransferTask, std::string> decodeTask(std::string_view bytes);
std::expected<TransferWait, std::string> decodeWait(std::string_view bytes);
std::expected<TransferOutcome, std::string> decodeOutcome(std::string_view bytes);

}  // namespace host
