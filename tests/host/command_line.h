#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "store/shared_store.h"
#include "tests/world.h"

extern char** environ;

namespace world {

/// What a program printed and how it ended; a signal counts as status 128 and more.
struct Ran {
  int status = -1;
  std::string out;
  std::string err;
};

/// Runs a program to its end.
inline Ran run(const std::filesystem::path& program, const std::vector<std::string>& words) {
  const Folder folder;
  const auto out = folder.path() / "out";
  const auto err = folder.path() / "err";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(
      &actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(
      &actions, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  std::vector<std::string> copies = {program.string()};
  copies.insert(copies.end(), words.begin(), words.end());
  std::vector<char*> arguments;
  for (std::string& word : copies) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);
  pid_t pid = -1;
  EXPECT_EQ(::posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments.data(), environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  ::waitpid(pid, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
          readWhole(out),
          readWhole(err)};
}

/// A phone for one test: the built program with a container of its own.
class Phone {
 public:
  Ran glancery(std::vector<std::string> words) const {
    words.insert(words.end(), {"--container", container().string()});
    return run(std::string(GLANCERY_BUILD) + "/glancery", words);
  }
  std::filesystem::path container() const { return folder_.path() / "container"; }
  std::filesystem::path file(const std::string& name) const { return folder_.path() / name; }
  std::filesystem::path suiteFile() const {
    return container() / "Library" / "Preferences" /
           (glancery::kAppGroupIdentifier + std::string(".plist"));
  }

 private:
  Folder folder_;
};

}  // namespace world
