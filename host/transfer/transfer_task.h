#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/foundation/data/error.h"

namespace host {

/// Names and values, in order; names may repeat.
using HeaderFields = std::vector<std::pair<std::string, std::string>>;

/// A request of an extension.
struct TransferRequest {
  /// The identifier of the background session that receives the result.
  std::string session = {};
  std::string url = {};
  std::string method = "GET";
  HeaderFields headers = {};
  std::string body = {};
  /// Seconds without a byte after which an attempt fails.
  double timeout = 60;
  friend bool operator==(const TransferRequest&, const TransferRequest&) = default;
};

/// Whether the request is a valid HTTP message; the error names the part that is not. The URL is
/// checked by the attempts.
std::expected<void, std::string> checkRequest(const TransferRequest& request);

/// Whether a request with this method may be repeated, by RFC 9110, section 9.2.2.
bool isIdempotent(std::string_view method);

/// Whether the URL's scheme is http or https.
bool isTransferable(const std::string& url);

/// How a task, or one attempt at it, ended.
struct TransferOutcome {
  /// Set if there is no complete answer.
  std::optional<platform::NSError> error = {};
  /// The status of the answer; with an error, of an incomplete answer.
  std::optional<int> status = {};
  /// The length of the body in bytes.
  std::uint64_t size = 0;
  friend bool operator==(const TransferOutcome&, const TransferOutcome&) = default;
};

enum class TransferState : std::uint8_t { pending, done, failed };

/// One download, until its result has been delivered. Instants are seconds since 1970.
struct TransferTask {
  /// Never used again in the same database.
  std::int64_t id = 0;
  TransferRequest request = {};
  double created = 0;
  /// Attempts that failed, and the instant of the next one.
  int attempts = 0;
  double next = 0;
  /// Attempts whose request may have reached a server.
  int sends = 0;
  /// The task's place in the order of ends; 0 while it is pending.
  std::int64_t ended = 0;
  /// Of a pending task, the outcome of the last attempt.
  TransferOutcome outcome = {};
  /// Why the result can't be delivered; empty if that was not tried.
  std::string undelivered = {};
  /// Whether the host that runs the task is alive.
  bool hosted = true;

  TransferState state() const {
    using enum TransferState;
    return ended == 0 ? pending : outcome.error ? failed : done;
  }
};

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
