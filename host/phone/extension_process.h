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

#include "host/phone/line_reader.h"
#include "host/phone/memory_limit.h"
#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/message_channel.h"

namespace host {

/// The memory limit that the build sets, in bytes; 0 for none.
std::size_t defaultMemoryLimit();

/// The limits of an extension. The host ends one that exceeds them.
struct ExtensionLimits {
  std::chrono::milliseconds answer = std::chrono::seconds(10);
  /// Dirty memory in bytes; 0 for no limit. Checked while an answer is awaited.
  std::size_t memory = defaultMemoryLimit();
  /// Once a stop is requested, from any thread, pending requests fail at once.
  std::stop_token leaving = {};
};

/// Why an extension has ended or did not start.
struct ExtensionFailure {
  enum class Kind { notStarted, crashed, hung, abandoned, memory, malformed };
  Kind kind;
  /// A sentence for people.
  std::string reason;
};

/// Handlers of what an extension requests from its host. They run within `ask`.
struct ExtensionRequests {
  /// Stores a download; the error refuses it.
  std::function<std::expected<void, platform::NSError>(const platform::StartDownload&)> download =
      [](const auto&) {
        return std::unexpected(
            platform::NSError{platform::NSURLErrorDomain, -1, "This host has no downloads."});
      };
  std::function<void(const std::string& kind)> reload = [](const auto&) {};
};

/// A running widget extension: a process at the other end of a socket.
///
/// Its standard output is its log. Its standard error is passed on, and the last line is quoted if
/// it crashes. An extension that crashes, exceeds a limit or sends a malformed message is ended;
/// every later request fails with the same reason. The destructor closes the socket, waits up to a
/// second for the process to exit, and then kills it.
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

  /// Sends a request and waits for its answer. `log` then holds every line that the extension wrote
  /// before it answered.
  std::expected<platform::ExtensionMessage::Content, ExtensionFailure> ask(
      platform::HostMessage::Content request);

  /// The lines of the log that were not taken yet, as `LineReader` keeps them.
  const std::vector<std::string>& log() const { return log_.lines(); }
  std::vector<std::string> takeLog();
  /// Why the process ended, once `ask` or `noticeExit` has found out.
  const std::optional<ExtensionFailure>& failure() const { return failure_; }
  /// Readable when the process has ended; -1 once `failure` says so.
  int exitDescriptor() const { return failure_ ? -1 : exit_.get(); }
  /// Sets `failure` if the process has ended between two requests.
  void noticeExit();
  pid_t pid() const { return pid_; }

 private:
  ExtensionProcess() = default;

  std::expected<platform::ExtensionMessage, ExtensionFailure> awaitAnswer();
  /// Handles a request of the extension; false if the message is something else.
  bool serve(const platform::ExtensionMessage& message);
  /// Waits for output of the extension or for `descriptor`, which is returned as readable, and
  /// reads the output.
  bool waitAndDrain(int descriptor, std::chrono::milliseconds longest);
  void drainOutput();
  /// Ends the process if it still runs, sets `failure` and returns it. `reason` says why it was
  /// ended; a crash is explained by the exit status.
  std::unexpected<ExtensionFailure> end(ExtensionFailure::Kind kind, std::string reason = "");

  pid_t pid_ = -1;
  /// Readable when the process has ended.
  platform::FileDescriptor exit_;
  ExtensionLimits limits_;
  MemoryLimit memory_;
  ExtensionRequests requests_;
  std::unique_ptr<platform::MessageChannel> channel_;
  LineReader log_;
  LineReader errors_;
  std::string lastError_;
  std::int64_t nextId_ = 1;
  std::optional<ExtensionFailure> failure_;
};

}  // namespace host
