#include "host/phone/extension_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
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

#include "host/phone/dirty_memory.h"

namespace host {

using namespace platform;
using namespace std::chrono_literals;

namespace {

/// How often a waiting host looks at the extension's dirty memory.
constexpr auto kMemoryInterval = 50ms;
/// How many times its limit of dirty memory an extension may reserve.
constexpr std::size_t kReservable = 2;
/// How long a process may take to leave once its socket is closed.
constexpr auto kFarewell = 1000ms;
/// What a pipe holds.
constexpr std::size_t kPipe = 64 << 10;

std::string mebibytes(std::size_t bytes) {
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.1f MiB", static_cast<double>(bytes) / (1 << 20));
  return text.data();
}

/// Both ends of a pipe, closed on exec; the reading end does not block.
struct Pipe {
  Pipe() {
    if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
      ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    }
  }
  std::array<int, 2> ends = {-1, -1};
};

void closeAll(std::initializer_list<int> descriptors) {
  for (const int descriptor : descriptors) {
    if (descriptor >= 0) {
      ::close(descriptor);
    }
  }
}

}  // namespace

std::size_t defaultMemoryLimit() {
  return std::size_t{GLANCERY_EXTENSION_MEMORY_MIB} << 20;
}

std::expected<std::unique_ptr<ExtensionProcess>, ExtensionFailure> ExtensionProcess::start(
    const std::filesystem::path& folder, ExtensionLimits limits, ExtensionRequests requests) {
  const std::filesystem::path program = folder / "Glancery";
  const auto notStarted = [&](int error) {
    return std::unexpected(
        ExtensionFailure{ExtensionFailure::Kind::notStarted,
                         program.string() + " can't be started: " + std::strerror(error)});
  };
  std::array<int, 2> sockets = {-1, -1};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) {
    return notStarted(errno);
  }
  const Pipe output;
  const Pipe complaints;

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, output.ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, complaints.ends[1], STDERR_FILENO);
  posix_spawn_file_actions_adddup2(&actions, sockets[1], kHostSocket);
  std::string name = program.string();
  std::array<char*, 2> arguments = {name.data(), nullptr};
  pid_t pid = -1;
  const int error =
      ::posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  closeAll({sockets[1], output.ends[1], complaints.ends[1]});
  if (error != 0) {
    closeAll({sockets[0], output.ends[0], complaints.ends[0]});
    return notStarted(error);
  }
  if (limits.memory > 0) {
    // Between two looks at its dirty memory the extension can't take the machine's memory. What is
    // reserved, stacks of threads for example, is more than what is ever written to.
    const rlimit data = {kReservable * limits.memory, kReservable * limits.memory};
    ::prlimit(pid, RLIMIT_DATA, &data, nullptr);
  }
  std::unique_ptr<ExtensionProcess> process(new ExtensionProcess);
  process->pid_ = pid;
  process->exit_ = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
  process->limits_ = limits;
  process->requests_ = std::move(requests);
  process->channel_ = std::make_unique<MessageChannel>(sockets[0]);
  process->log_.descriptor = output.ends[0];
  process->complaints_.descriptor = complaints.ends[0];
  return process;
}

ExtensionProcess::~ExtensionProcess() {
  channel_.reset();
  if (!failure_) {
    // A process that has nothing left to do leaves at once; one that does not is ended.
    const auto deadline = std::chrono::steady_clock::now() + kFarewell;
    bool gone = false;
    while (!gone && std::chrono::steady_clock::now() < deadline) {
      std::array<pollfd, 3> wanted = {pollfd{exit_, POLLIN, 0},
                                      pollfd{log_.descriptor, POLLIN, 0},
                                      pollfd{complaints_.descriptor, POLLIN, 0}};
      ::poll(wanted.data(), wanted.size(), static_cast<int>(kFarewell.count()));
      drainOutput();
      gone = wanted[0].revents != 0;
    }
    if (!gone) {
      ::kill(pid_, SIGKILL);
    }
    ::waitpid(pid_, nullptr, 0);
  }
  closeAll({exit_, log_.descriptor, complaints_.descriptor});
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
  // A socket that is closed already is noticed, and explained, by the wait for the answer.
  auto answer = awaitAnswer(std::chrono::steady_clock::now() + limits_.answer);
  drainOutput();
  if (!answer) {
    return std::unexpected(answer.error());
  }
  if (auto failure = endIfTooLarge()) {
    return std::unexpected(*std::move(failure));
  }
  if (answer->id != id) {
    return std::unexpected(end(ExtensionFailure::Kind::nonsense,
                               "it answered request " + std::to_string(answer->id) + " where " +
                                   std::to_string(id) + " was asked"));
  }
  return std::move(answer->content);
}

std::vector<std::string> ExtensionProcess::takeLog() {
  drainOutput();
  return log_.take();
}

void ExtensionProcess::noticeExit() {
  pollfd gone = {exit_, POLLIN, 0};
  if (!failure_ && ::poll(&gone, 1, 0) == 1) {
    end(ExtensionFailure::Kind::crashed, {});
  }
}

std::expected<ExtensionMessage, ExtensionFailure> ExtensionProcess::awaitAnswer(Deadline deadline) {
  using Kind = ExtensionFailure::Kind;
  auto nextLook = std::chrono::steady_clock::now() + kMemoryInterval;
  for (;;) {
    // Looked for before every wait: several messages may have come at once, and those that the
    // channel holds already wake nobody.
    const auto value = channel_->receive(0ms);
    if (value) {
      auto message = decodeExtensionMessage(*value);
      if (!message) {
        return std::unexpected(end(Kind::nonsense, message.error()));
      }
      if (!serve(*message)) {
        return *std::move(message);
      }
    } else if (value.error().kind == ChannelError::Kind::malformed) {
      return std::unexpected(end(Kind::nonsense, value.error().what));
    } else if (value.error().kind != ChannelError::Kind::timedOut) {
      return std::unexpected(end(Kind::crashed, value.error().what));
    } else {
      std::array<pollfd, 3> wanted = {pollfd{channel_->descriptor(), POLLIN, 0},
                                      pollfd{log_.descriptor, POLLIN, 0},
                                      pollfd{complaints_.descriptor, POLLIN, 0}};
      ::poll(wanted.data(), wanted.size(), static_cast<int>(kMemoryInterval.count()));
      drainOutput();
    }
    // A line of the log wakes this wait as well; a look costs more than most lines.
    const auto now = std::chrono::steady_clock::now();
    if (now >= nextLook) {
      if (auto failure = endIfTooLarge()) {
        return std::unexpected(*std::move(failure));
      }
      nextLook = now + kMemoryInterval;
    }
    if (limits_.leaving.stop_requested()) {
      return std::unexpected(end(Kind::abandoned, ""));
    }
    if (now >= deadline) {
      return std::unexpected(end(Kind::hung, std::to_string(limits_.answer.count())));
    }
  }
}

bool ExtensionProcess::serve(const ExtensionMessage& message) {
  if (const auto* reload = std::get_if<ReloadTimelines>(&message.content)) {
    if (requests_.reload) {
      requests_.reload(reload->kind);
    }
    return true;
  }
  const auto* start = std::get_if<StartDownload>(&message.content);
  if (!start) {
    return false;
  }
  std::expected<void, NSError> taken =
      std::unexpected(NSError{NSURLErrorDomain, -1, "This host downloads nothing."});
  if (requests_.download) {
    taken = requests_.download(*start);
  }
  const auto refusal = taken ? std::nullopt : std::optional(taken.error());
  // An extension that is gone meanwhile is noticed by the wait that goes on.
  (void)channel_->send(encode(HostMessage{message.id, DownloadStarted{refusal}}));
  return true;
}

void ExtensionProcess::LineReader::drain() {
  std::array<char, 4096> chunk;
  // A pipe holds no more; one who writes without end must not keep the host reading.
  for (std::size_t seen = 0; seen < kPipe; seen += chunk.size()) {
    const ssize_t count = ::read(descriptor, chunk.data(), chunk.size());
    if (count == 0) {
      ::close(std::exchange(descriptor, -1));
    }
    if (count <= 0) {
      return;
    }
    const auto length = static_cast<std::size_t>(count);
    if (length > room) {
      if (std::exchange(room, 0) > 0) {
        partial.clear();
        lines.emplace_back("(what follows is more than is kept)");
      }
      continue;
    }
    room -= length;
    partial.append(chunk.data(), length);
    std::size_t start = 0;
    for (std::size_t feed = partial.find('\n'); feed != std::string::npos;
         feed = partial.find('\n', start)) {
      lines.push_back(partial.substr(start, feed - start));
      start = feed + 1;
    }
    partial.erase(0, start);
  }
}

std::vector<std::string> ExtensionProcess::LineReader::take() {
  room = kMostKept;
  return std::exchange(lines, {});
}

void ExtensionProcess::drainOutput() {
  log_.drain();
  complaints_.drain();
  for (std::string& line : complaints_.take()) {
    std::fprintf(stderr, "Glancery: %s\n", line.c_str());
    lastComplaint_ = std::move(line);
  }
}

std::optional<ExtensionFailure> ExtensionProcess::endIfTooLarge() {
  const std::size_t dirty = limits_.memory > 0 ? dirtyMemoryOf(pid_) : 0;
  if (dirty <= limits_.memory) {
    return std::nullopt;
  }
  return end(ExtensionFailure::Kind::memory, "used " + mebibytes(dirty));
}

ExtensionFailure ExtensionProcess::end(ExtensionFailure::Kind kind, std::string reason) {
  using Kind = ExtensionFailure::Kind;
  // A process that closed its socket is on its way out: give it the moment to say how.
  if (kind == Kind::crashed) {
    pollfd gone = {exit_, POLLIN, 0};
    ::poll(&gone, 1, static_cast<int>(kFarewell.count()));
  }
  int status = 0;
  rusage usage = {};
  if (::wait4(pid_, &status, WNOHANG, &usage) != pid_ && ::kill(pid_, SIGKILL) == 0) {
    ::wait4(pid_, &status, 0, &usage);
  }
  drainOutput();
  if (!complaints_.partial.empty()) {
    lastComplaint_ = std::move(complaints_.partial);
  }
  const std::string lastWords = lastComplaint_.empty() ? "" : " (" + lastComplaint_ + ")";
  const bool outOfMemory = lastWords.find("bad_alloc") != std::string::npos;
  if (kind == Kind::crashed && outOfMemory) {
    kind = Kind::memory;
    reason = "asked for more than " + mebibytes(kReservable * limits_.memory);
  }
  switch (kind) {
    case Kind::memory:
      reason = "the extension was ended: it " + reason + " of dirty memory where " +
               mebibytes(limits_.memory) + " are allowed";
      break;
    case Kind::hung:
      reason = "the extension was ended: it gave no answer within " + reason + " ms";
      break;
    case Kind::abandoned:
      reason = "the extension was ended: nobody waits for its answer any longer";
      break;
    case Kind::nonsense:
      reason = "the extension was ended: it sent a malformed message: " + reason;
      break;
    case Kind::crashed:
    case Kind::notStarted:
      reason =
          WIFSIGNALED(status)
              ? std::string("the extension crashed: ") + ::strsignal(WTERMSIG(status)) + lastWords
              : "the extension left with status " + std::to_string(WEXITSTATUS(status)) +
                    " without an answer" + lastWords;
      break;
  }
  failure_ = ExtensionFailure{kind, std::move(reason)};
  return *failure_;
}

}  // namespace host
