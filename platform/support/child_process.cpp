#include "platform/support/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>

#include "platform/support/files.h"

namespace platform {

namespace {

std::string contentOf(const FileDescriptor& file) {
  return readFile("/proc/self/fd/" + std::to_string(file.get())).value_or("");
}

}  // namespace

std::expected<pid_t, std::error_code> startProgram(std::vector<std::string> words,
                                                   std::initializer_list<PassedDescriptor> passed) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  int last = STDERR_FILENO;
  for (const auto& [own, number] : passed) {
    posix_spawn_file_actions_adddup2(&actions, own, number);
    last = std::max(last, number);
  }
  // Libraries open sockets that are not closed on exec.
  posix_spawn_file_actions_addclosefrom_np(&actions, last + 1);
  std::vector<char*> arguments;
  for (std::string& word : words) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  pid_t pid = -1;
  const int error = ::posix_spawn(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    return std::unexpected(std::error_code(error, std::system_category()));
  }
  return pid;
}

ChildProcess::ChildProcess(const std::vector<std::string>& words)
    : out_(::memfd_create("out", MFD_CLOEXEC)), err_(::memfd_create("err", MFD_CLOEXEC)) {
  const auto started =
      startProgram(words, {{out_.get(), STDOUT_FILENO}, {err_.get(), STDERR_FILENO}});
  if (!started) {
    throw std::system_error(started.error(), words.front() + " can't be started");
  }
  pid_ = *started;
  exit_ = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
}

ChildProcess::~ChildProcess() {
  end(SIGKILL);
}

std::vector<pid_t> ChildProcess::children() const {
  std::vector<pid_t> found;
  std::error_code gone;
  const std::filesystem::path tasks = "/proc/" + std::to_string(pid_) + "/task";
  for (const auto& thread : std::filesystem::directory_iterator(tasks, gone)) {
    std::ifstream in(thread.path() / "children");
    for (pid_t child = 0; in >> child;) {
      found.push_back(child);
    }
  }
  return found;
}

void ChildProcess::signal(int number) {
  if (!status_) {
    ::kill(pid_, number);
  }
}

std::optional<ProgramEnd> ChildProcess::wait(std::chrono::milliseconds longest) {
  if (!status_) {
    pollfd ended = {exit_.get(), POLLIN, 0};
    int status = 0;
    if (::poll(&ended, 1, static_cast<int>(longest.count())) != 1 ||
        ::waitpid(pid_, &status, 0) != pid_) {
      return std::nullopt;
    }
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return ProgramEnd{*status_, contentOf(out_), contentOf(err_)};
}

ProgramEnd ChildProcess::end(int number) {
  signal(number);
  return wait().value_or(ProgramEnd());
}

std::string ChildProcess::line() {
  bool ended = false;
  for (;;) {
    const std::string out = contentOf(out_);
    if (const std::size_t end = out.find('\n', next_); end != std::string::npos) {
      const std::size_t start = std::exchange(next_, end + 1);
      return out.substr(start, end - start);
    }
    if (ended) {
      return "";
    }
    ended = wait(std::chrono::milliseconds(2)).has_value();
  }
}

}  // namespace platform
