#include "bench/program_run.h"

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>

#include "bench/demo_phone.h"

extern char** environ;

namespace bench {

Measured runProgram(const std::vector<std::string>& words) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  std::vector<std::string> copies = words;
  std::vector<char*> arguments;
  for (std::string& word : copies) {
    arguments.push_back(word.data());
  }
  arguments.push_back(nullptr);

  const auto start = std::chrono::steady_clock::now();
  pid_t pid = -1;
  const int error =
      ::posix_spawnp(&pid, arguments[0], &actions, nullptr, arguments.data(), environ);
  if (error != 0) {
    giveUp(words[0] + " can't be started: " + std::strerror(error));
  }
  int status = 0;
  rusage usage = {};
  ::wait4(pid, &status, 0, &usage);
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
  posix_spawn_file_actions_destroy(&actions);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    giveUp(words[0] + " failed with wait status " + std::to_string(status));
  }
  return {took.count(), static_cast<double>(usage.ru_maxrss) / 1024};
}

int pinToOneCore() {
  cpu_set_t allowed;
  if (::sched_getaffinity(0, sizeof allowed, &allowed) != 0) {
    return -1;
  }
  int last = CPU_SETSIZE - 1;
  while (last >= 0 && !CPU_ISSET(last, &allowed)) {
    --last;
  }
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(last, &one);
  return ::sched_setaffinity(0, sizeof one, &one) == 0 ? last : -1;
}

}  // namespace bench
