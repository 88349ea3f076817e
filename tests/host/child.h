#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

extern char** environ;

namespace world {

/// A program that runs beside the test, and whose lines are read one by one.
class Child {
 public:
  explicit Child(std::vector<std::string> words) {
    std::array<int, 2> ends = {};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    std::vector<char*> arguments;
    for (std::string& word : words) {
      arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    EXPECT_EQ(::posix_spawn(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    out_ = ::fdopen(ends[0], "r");
  }
  ~Child() {
    end(SIGKILL);
    std::fclose(out_);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// The next line without its line feed; empty when there are no more.
  std::string line() {
    char text[4096] = "";
    if (!std::fgets(text, sizeof text, out_)) {
      return "";
    }
    std::string read = text;
    return read.substr(0, read.find('\n'));
  }

  pid_t pid() const { return pid_; }

  /// Sends a signal, or none for 0, and waits for the end: the exit status, or 128 and the signal
  /// that ended it.
  int end(int signal) {
    if (pid_ > 0) {
      ::kill(pid_, signal);
      ::waitpid(pid_, &status_, 0);
      pid_ = -1;
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_);
  }

 private:
  pid_t pid_ = -1;
  int status_ = 0;
  std::FILE* out_ = nullptr;
};

}  // namespace world
