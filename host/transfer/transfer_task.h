#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/data/error.h"

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

/// Whether the request can be put into an HTTP message as it is; the error names what can't.
/// Whether its URL can be reached is found out by trying.
std::expected<void, std::string> checkRequest(const TransferRequest& request);

/// Whether the URL's scheme is http or https.
bool isTransferable(std::string_view url);

/// How a task, or one attempt at it, ended.
struct TransferOutcome {
  /// Set if there is no complete answer.
  std::optional<platform::NSError> error = {};
  /// The status of the answer; with an error, of one that was cut off.
  std::optional<int> status = {};
  /// The length of the body in bytes.
  std::uint64_t size = 0;
  friend bool operator==(const TransferOutcome&, const TransferOutcome&) = default;
};

enum class TransferState : std::uint8_t { pending, done, failed };

/// One download from its request until its result has been delivered. Instants are seconds since
/// 1970.
struct TransferTask {
  /// Unlike that of any other task of the same database, now or later.
  std::int64_t id = 0;
  TransferRequest request = {};
  double created = 0;
  /// Attempts that failed, and the instant of the next one.
  int attempts = 0;
  double next = 0;
  /// How often the request may have reached a server.
  int sends = 0;
  /// The task's place in the order of ends; 0 while it is pending.
  std::int64_t ended = 0;
  /// The task's end; of a pending task, the last attempt's.
  TransferOutcome outcome = {};
  /// Why the result could not be delivered, if that was tried.
  std::string undelivered = {};
  /// Whether the host that runs the task is alive.
  bool hosted = true;

  TransferState state() const {
    using enum TransferState;
    return ended == 0 ? pending : outcome.error ? failed : done;
  }
};

}  // namespace host
