#pragma once

#include <sys/types.h>

#include <chrono>
#include <expected>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/support/file_descriptor.h"

namespace platform {

/// A descriptor of this process and its number in a program that is started.
using PassedDescriptor = std::pair<int, int>;

/// Starts the program at `words[0]`. It inherits the environment, `passed` and, below the highest
/// of those, what is not closed on exec; its standard input is empty.
std::expected<pid_t, std::error_code> startProgram(std::vector<std::string> words,
                                                   std::initializer_list<PassedDescriptor> passed);

/// How a program ended, and all that it printed.
struct ProgramEnd {
  /// The exit status, or 128 and the number of the signal that ended it.
  int status = -1;
  std::string out = {};
  std::string err = {};
};

/// A program that runs beside this one. The destructor kills it. Used by one thread.
class ChildProcess {
 public:
  /// Throws a `std::system_error` that names the program.
  explicit ChildProcess(const std::vector<std::string>& words);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const { return pid_; }
  /// Its children, such as the extension of a host.
  std::vector<pid_t> children() const;
  /// Sends a signal, unless the program has ended.
  void signal(int number);
  /// Waits for the end; nothing if it has not ended after `longest`.
  std::optional<ProgramEnd> wait(std::chrono::milliseconds longest = std::chrono::hours(1));
  /// Sends a signal and waits for the end.
  ProgramEnd end(int number);
  /// Waits for the next line of its standard output and returns it without its line feed; empty if
  /// the program ends first.
  std::string line();

 private:
  // Files in memory: unlike a full pipe they never block the program.
  FileDescriptor out_;
  FileDescriptor err_;
  pid_t pid_ = -1;
  FileDescriptor exit_;
  std::optional<int> status_;
  /// Where the next line begins.
  std::size_t next_ = 0;
};

}  // namespace platform
