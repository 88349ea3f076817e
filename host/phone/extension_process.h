#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/message_channel.h"

namespace host {

/// The memory limit that the build sets, in bytes; 0 for none.
std::size_t defaultMemoryLimit();

/// What an extension may use before the host ends it.
struct ExtensionLimits {
  std::chrono::milliseconds answer = std::chrono::seconds(10);
  /// Dirty memory in bytes, as `dirtyMemoryOf` counts it; 0 for no limit. It is looked at while an
  /// answer is awaited; at no time can the extension reserve more than twice as much.
  std::size_t memory = defaultMemoryLimit();
  /// Whoever requests it, from any thread, waits for no answer any longer.
  std::stop_token leaving = {};
};

/// Why an extension is no longer there, or never was.
struct ExtensionFailure {
  enum class Kind { notStarted, crashed, hung, abandoned, memory, nonsense };
  Kind kind;
  /// A whole sentence for people.
  std::string reason;
};

/// What an extension asks of its host while it answers. Both run within `ask`.
struct ExtensionRequests {
  /// Takes a download onto the disk; the error refuses it.
  std::function<std::expected<void, platform::NSError>(const platform::StartDownload&)> download =
      {};
  std::function<void(const std::string& kind)> reload = {};
};

/// A running widget extension: one process at the other end of a socket.
///
/// Its standard output is its log, which is collected; its standard error is passed on and its last
/// line quoted when it crashes. An extension that crashes, gives no answer in time, exceeds its
/// memory or sends nonsense is ended; every later request then fails with the same reason. The
/// destructor lets go of the socket and waits for the process to leave, and ends one that does not.
///
/// Used by one thread.
class ExtensionProcess {
 public:
  /// Starts `folder/Glancery`.
  static std::expected<std::unique_ptr<ExtensionProcess>, ExtensionFailure> start(
      const std::filesystem::path& folder,
      ExtensionLimits limits = {},
      ExtensionRequests requests = {});
  ~ExtensionProcess();
  ExtensionProcess(const ExtensionProcess&) = delete;
  ExtensionProcess& operator=(const ExtensionProcess&) = delete;

  /// One request and its answer. Every line that the extension wrote until then is in `log()`, up
  /// to 16 MiB that were not taken.
  std::expected<platform::ExtensionMessage::Content, ExtensionFailure> ask(
      platform::HostMessage::Content request);

  /// The lines of standard output so far, without their line feeds; those that were taken are gone.
  const std::vector<std::string>& log() const { return log_.lines; }
  std::vector<std::string> takeLog();
  /// Why it is no longer there, once that was noticed.
  const std::optional<ExtensionFailure>& failure() const { return failure_; }
  /// Becomes readable when the process is gone; -1 once that was noticed.
  int exitDescriptor() const { return failure_ ? -1 : exit_; }
  /// Finds out what became of a process that left between two requests, if it did.
  void noticeExit();
  pid_t pid() const { return pid_; }

 private:
  using Deadline = std::chrono::steady_clock::time_point;

  /// A pipe that is read into lines.
  struct LineReader {
    /// Bytes of lines that wait to be taken; whatever else is written is dropped.
    static constexpr std::size_t kMostKept = 16 << 20;
    int descriptor = -1;
    std::string partial = {};
    std::vector<std::string> lines = {};
    std::size_t room = kMostKept;
    /// Takes what is there without waiting. Lets go of a pipe that nobody writes to any more: it
    /// would wake every later wait.
    void drain();
    std::vector<std::string> take();
  };

  ExtensionProcess() = default;

  std::expected<platform::ExtensionMessage, ExtensionFailure> awaitAnswer(Deadline deadline);
  /// Whether the message was a request of the extension's own, which is then seen to.
  bool serve(const platform::ExtensionMessage& message);
  void drainOutput();
  /// Ends the process if it has more dirty memory now than it may have.
  std::optional<ExtensionFailure> endIfTooLarge();
  /// Ends the process if it still runs, and finds out what became of it.
  ExtensionFailure end(ExtensionFailure::Kind kind, std::string reason);

  pid_t pid_ = -1;
  /// Becomes readable when the process is gone.
  int exit_ = -1;
  ExtensionLimits limits_;
  ExtensionRequests requests_;
  std::unique_ptr<platform::MessageChannel> channel_;
  LineReader log_;
  LineReader complaints_;
  std::string lastComplaint_;
  std::int64_t nextId_ = 1;
  std::optional<ExtensionFailure> failure_;
};

}  // namespace host
