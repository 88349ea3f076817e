#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/error.h"

namespace host {

/// Names and values, in order; a name may come twice.
using HeaderFields = std::vector<std::pair<std::string, std::string>>;

/// What an extension asks to have transferred.
struct TransferRequest {
  /// The identifier of the background session that the result goes to.
  std::string session = {};
  std::string url = {};
  std::string method = "GET";
  HeaderFields headers = {};
  std::string body = {};
  /// Seconds without a byte after which an attempt is given up and another one made.
  double timeout = 60;
  friend bool operator==(const TransferRequest&, const TransferRequest&) = default;
};

/// What a server said, of whatever status; its body is in the task's file.
struct TransferAnswer {
  int status = 0;
  /// Where the body came from in the end, after all redirects.
  std::string url;
  HeaderFields headers = {};
  /// The length of the body in bytes, as it lies in the file.
  std::uint64_t size = 0;
  friend bool operator==(const TransferAnswer&, const TransferAnswer&) = default;
};

/// How a task ended: with an answer, or with an error and, where a server had begun to answer, what
/// it said so far.
struct TransferOutcome {
  /// Grows with every task that ends.
  std::int64_t order = 0;
  std::optional<TransferAnswer> answer = {};
  std::optional<platform::NSError> error = {};
};

/// What is known of a task that has been tried in vain.
struct TransferWait {
  int attempts = 0;
  /// The moment of the next attempt, in seconds since 1970.
  double next = 0;
  /// Why the last attempt failed.
  platform::NSError error = {};
};

enum class TransferState : std::uint8_t { pending, done, failed };

/// One download from its request until its result has been delivered.
struct TransferTask {
  /// Unlike that of any other task, now or later.
  std::string id = {};
  TransferRequest request = {};
  /// Seconds since 1970.
  double created = 0;
  TransferWait wait = {};
  std::optional<TransferOutcome> outcome = {};

  TransferState state() const {
    using enum TransferState;
    return !outcome ? pending : outcome->error ? failed : done;
  }
};

}  // namespace host
