#include "host/phone/extension_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include "platform/support/child_process.h"

namespace host {

using namespace platform;
using namespace std::chrono_literals;

namespace {

/// How long a process may take to exit once its socket is closed.
constexpr auto kExitTimeout = 1000ms;
/// How often the dirty memory is checked during a request.
constexpr auto kMemoryInterval = 50ms;

/// Both ends of a pipe, closed on exec; the reading end does not block.
struct Pipe {
  Pipe() {
    std::array<int, 2> ends = {-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
      ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    }
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
  }
  FileDescriptor reading;
  FileDescriptor writing;
};

}  // namespace

std::size_t defaultMemoryLimit() {
  return std::size_t{GLANCERY_EXTENSION_MEMORY_MIB} << 20;
}

std::expected<std::unique_ptr<ExtensionProcess>, ExtensionFailure> ExtensionProcess::start(
    const std::filesystem::path& folder, ExtensionLimits limits, ExtensionRequests requests) {
  const std::filesystem::path program = folder / "Glancery";
  const auto notStarted = [&](const std::error_code& error) {
    return std::unexpected(
        ExtensionFailure{ExtensionFailure::Kind::notStarted,
                         program.string() + " can't be started: " + error.message()});
  };
  std::array<int, 2> sockets = {-1, -1};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) {
    return notStarted({errno, std::system_category()});
  }
  std::unique_ptr<ExtensionProcess> process(new ExtensionProcess);
  process->channel_ = std::make_unique<MessageChannel>(sockets[0]);
  const FileDescriptor childSocket(sockets[1]);
  Pipe output;
  Pipe errors;

  const auto pid = startProgram({program.string()},
                                {{output.writing.get(), STDOUT_FILENO},
                                 {errors.writing.get(), STDERR_FILENO},
                                 {childSocket.get(), kHostSocket}});
  if (!pid) {
    process->failure_ = notStarted(pid.error()).error();
    return std::unexpected(*process->failure_);
  }
  process->pid_ = *pid;
  process->exit_ = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, *pid, 0)));
  process->memory_ = MemoryLimit(*pid, limits.memory);
  process->limits_ = std::move(limits);
  process->requests_ = std::move(requests);
  process->log_ = LineReader(std::move(output.reading));
  process->errors_ = LineReader(std::move(errors.reading));
  return process;
}

ExtensionProcess::~ExtensionProcess() {
  channel_.reset();
  if (failure_) {
    return;
  }
  const auto deadline = std::chrono::steady_clock::now() + kExitTimeout;
  bool gone = false;
  while (!gone && std::chrono::steady_clock::now() < deadline) {
    gone = waitAndDrain(exit_.get(), kExitTimeout);
  }
  if (!gone) {
    ::kill(pid_, SIGKILL);
  }
  ::waitpid(pid_, nullptr, 0);
}

std::expected<ExtensionMessage::Content, ExtensionFailure> ExtensionProcess::ask(
    HostMessage::Content request) {
  if (failure_) {
    return std::unexpected(*failure_);
  }
  const std::int64_t id = nextId_++;
  const auto sent = channel_->send(encode(HostMessage{id, std::move(request)}));
  if (!sent && sent.error().kind == ChannelError::Kind::malformed) {
    return Failure{"the request can't be sent: " + sent.error().what};
  }
  // If the socket is closed already, `awaitAnswer` notices it and explains why.
  auto answer = awaitAnswer();
  if (!answer) {
    return std::unexpected(answer.error());
  }
  if (answer->id != id) {
    return end(
        ExtensionFailure::Kind::malformed,
        "it answered request " + std::to_string(answer->id) + " instead of " + std::to_string(id));
  }
  return std::move(answer->content);
}

std::vector<std::string> ExtensionProcess::takeLog() {
  drainOutput();
  return log_.take();
}

void ExtensionProcess::noticeExit() {
  pollfd gone = {exit_.get(), POLLIN, 0};
  if (!failure_ && ::poll(&gone, 1, 0) == 1) {
    end(ExtensionFailure::Kind::crashed);
  }
}

std::expected<ExtensionMessage, ExtensionFailure> ExtensionProcess::awaitAnswer() {
  using Kind = ExtensionFailure::Kind;
  auto now = std::chrono::steady_clock::now();
  const auto deadline = now + limits_.answer;
  auto nextCheck = now + kMemoryInterval;
  for (;;) {
    std::optional<ExtensionMessage> answer;
    // Received before every wait: messages that the channel has buffered make nothing readable.
    const auto value = channel_->receive(0ms);
    if (value) {
      auto message = decodeExtensionMessage(*value);
      if (!message) {
        return end(Kind::malformed, message.error());
      }
      if (!serve(*message)) {
        answer = *std::move(message);
        drainOutput();
      }
    } else if (value.error().kind == ChannelError::Kind::malformed) {
      return end(Kind::malformed, value.error().what);
    } else if (value.error().kind != ChannelError::Kind::timedOut) {
      return end(Kind::crashed);
    } else {
      waitAndDrain(channel_->descriptor(), kMemoryInterval);
    }
    // Every line of the log ends the wait, and a check costs more than most lines.
    now = std::chrono::steady_clock::now();
    if (answer || now >= nextCheck) {
      if (auto excess = memory_.exceeded()) {
        return end(Kind::memory, *std::move(excess));
      }
      nextCheck = now + kMemoryInterval;
    }
    if (answer) {
      return *std::move(answer);
    }
    if (limits_.leaving.stop_requested()) {
      return end(Kind::abandoned, "the host is shutting down");
    }
    if (now >= deadline) {
      return end(Kind::hung,
                 "it gave no answer within " + std::to_string(limits_.answer.count()) + " ms");
    }
  }
}

bool ExtensionProcess::serve(const ExtensionMessage& message) {
  if (const auto* reload = std::get_if<ReloadTimelines>(&message.content)) {
    requests_.reload(reload->kind);
    return true;
  }
  const auto* start = std::get_if<StartDownload>(&message.content);
  if (!start) {
    return false;
  }
  const auto taken = requests_.download(*start);
  const auto refusal = taken ? std::nullopt : std::optional(taken.error());
  // If the extension has ended meanwhile, `awaitAnswer` notices it.
  (void)channel_->send(encode(HostMessage{message.id, DownloadStarted{refusal}}));
  return true;
}

bool ExtensionProcess::waitAndDrain(int descriptor, std::chrono::milliseconds longest) {
  std::array<pollfd, 3> watched = {pollfd{descriptor, POLLIN, 0},
                                   pollfd{log_.descriptor(), POLLIN, 0},
                                   pollfd{errors_.descriptor(), POLLIN, 0}};
  ::poll(watched.data(), watched.size(), static_cast<int>(longest.count()));
  drainOutput();
  return watched[0].revents != 0;
}

void ExtensionProcess::drainOutput() {
  log_.drain();
  errors_.drain();
  for (std::string& line : errors_.take()) {
    std::fprintf(stderr, "Glancery: %s\n", line.c_str());
    lastError_ = std::move(line);
  }
}

std::unexpected<ExtensionFailure> ExtensionProcess::end(ExtensionFailure::Kind kind,
                                                        std::string reason) {
  using Kind = ExtensionFailure::Kind;
  // A process that has closed its socket is about to exit; its status explains why.
  if (kind == Kind::crashed) {
    pollfd gone = {exit_.get(), POLLIN, 0};
    ::poll(&gone, 1, static_cast<int>(kExitTimeout.count()));
  }
  int status = 0;
  if (::waitpid(pid_, &status, WNOHANG) != pid_ && ::kill(pid_, SIGKILL) == 0) {
    ::waitpid(pid_, &status, 0);
  }
  drainOutput();
  if (kind == Kind::malformed) {
    reason = "it sent a malformed message: " + reason;
  } else if (kind == Kind::crashed) {
    const std::string last = errors_.partial().empty() ? lastError_ : errors_.partial();
    const std::string quoted = last.empty() ? "" : " (" + last + ")";
    if (last.find("bad_alloc") != std::string::npos) {
      kind = Kind::memory;
      reason = memory_.allocationFailed();
    } else if (WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) {
      reason =
          "the sandbox ended the extension: it made a system call that is not allowed" + quoted;
    } else if (WIFSIGNALED(status)) {
      reason = std::string("the extension crashed: ") + ::strsignal(WTERMSIG(status)) + quoted;
    } else {
      reason = "the extension exited with status " + std::to_string(WEXITSTATUS(status)) +
               " without an answer" + quoted;
    }
  }
  failure_ = {kind, (kind == Kind::crashed ? "" : "the extension was ended: ") + reason};
  return std::unexpected(*failure_);
}

}  // namespace host
