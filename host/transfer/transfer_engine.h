#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/transfer/transfer_task.h"

namespace host {

/// How one attempt at a task ended.
struct AttemptEnd {
  enum class Kind : std::uint8_t { answered, lost, refused };
  std::string id;
  /// `lost` may go better another time, `refused` will not.
  Kind kind = Kind::answered;
  /// What the server said; also where it was cut off in the midst of its body.
  std::optional<TransferAnswer> answer = {};
  /// Why there is no whole answer.
  std::optional<platform::NSError> error = {};
};

/// Carries requests over the network, many at a time, and writes their bodies into files as they
/// come. Nothing blocks; used by one thread.
class TransferEngine {
 public:
  virtual ~TransferEngine() = default;

  /// Readable whenever `step` has something to do.
  virtual int descriptor() const = 0;
  /// Begins an attempt; `body` is created anew.
  virtual void start(const TransferTask& task, const std::filesystem::path& body, double now) = 0;
  /// Forgets an attempt; it does not end any more.
  virtual void stop(const std::string& id) = 0;
  /// Does what can be done now. Answers the attempts that have ended, among them those without a
  /// byte for as long as their request allows.
  virtual std::vector<AttemptEnd> step(double now) = 0;
  /// The first moment at which an attempt may have been silent for too long.
  virtual std::optional<double> nextTimeout() const = 0;
};

using TransferEngineFactory =
    std::function<std::expected<std::unique_ptr<TransferEngine>, std::string>()>;

/// `libglancery_transfer.so` beside the running program.
std::filesystem::path transferLibrary();

/// The engine out of that library, which is loaded now and kept: the program itself does not link
/// the network library, which would cost every command two milliseconds at its start.
std::expected<std::unique_ptr<TransferEngine>, std::string> loadTransferEngine(
    const std::filesystem::path& library = transferLibrary());

}  // namespace host
