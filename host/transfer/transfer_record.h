#pragma once

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "host/transfer/transfer_task.h"

// A journal of tasks: records one behind the other, each CBOR behind a head with its length and
// checksums of both. Later records say what became of the tasks of earlier ones.

namespace host {

/// A task's identity, request and date, without what became of it.
std::string taskRecord(const TransferTask& task);
std::string waitRecord(const TransferTask& task);
std::string outcomeRecord(const TransferTask& task);
std::string removalRecord(const std::string& id);

/// What a journal says in the end.
struct Journal {
  /// The tasks that were not removed, in the order in which they were added.
  std::vector<TransferTask> tasks;
  /// What is wrong and at which byte, for every damaged place. Reading goes on behind it.
  std::vector<std::string> damage;
  /// The length of what was read. Less than all of it where the last record is not all there: its
  /// writer was ended while it wrote.
  std::size_t length = 0;
};

/// Takes bytes that nobody has checked.
Journal readJournal(std::string_view bytes);

}  // namespace host
