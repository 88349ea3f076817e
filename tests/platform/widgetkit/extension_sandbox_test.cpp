#include "platform/widgetkit/extension_sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "tests/world.h"

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr int kIncomplete = 99;

struct Case {
  const char* name;
  /// What a sandboxed process does in a folder with the folders "bundle" (readable), "container"
  /// (writable) and "other", with a file each; returns 0 or an error number.
  int (*act)(const fs::path& folder);
  /// The error number, or minus the signal that ends the process.
  int end;
  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

int opened(const fs::path& file, int flags) {
  return ::open(file.c_str(), flags, 0600) >= 0 ? 0 : errno;
}

int done(int result) {
  return result == 0 ? 0 : errno;
}

// clang-format off
const Case kCases[] = {
    {"readsTheBundle",       [](const fs::path& at) { return opened(at / "bundle/file", O_RDONLY); }, 0},
    {"listsTheBundle",       [](const fs::path& at) { return opened(at / "bundle", O_RDONLY | O_DIRECTORY); }, 0},
    {"changesTheBundle",     [](const fs::path& at) { return opened(at / "bundle/file", O_WRONLY); }, EACCES},
    {"readsTheContainer",    [](const fs::path& at) { return opened(at / "container/file", O_RDONLY); }, 0},
    {"changesTheContainer",  [](const fs::path& at) { return opened(at / "container/file", O_WRONLY | O_TRUNC); }, 0},
    {"createsAFile",         [](const fs::path& at) { return opened(at / "container/new", O_WRONLY | O_CREAT); }, 0},
    {"createsAFolder",       [](const fs::path& at) { return done(::mkdir((at / "container/folder").c_str(), 0700)); }, 0},
    {"replacesAFile",        [](const fs::path& at) { return done(::rename((at / "container/file").c_str(), (at / "container/moved").c_str())); }, 0},
    {"removesAFile",         [](const fs::path& at) { return done(::unlink((at / "container/file").c_str())); }, 0},
    {"readsOtherFiles",      [](const fs::path& at) { return opened(at / "other/file", O_RDONLY); }, EACCES},
    {"readsTheSystem",       [](const fs::path&) { return opened("/etc/passwd", O_RDONLY); }, EACCES},
    {"followsALinkOut",      [](const fs::path& at) { return opened(at / "container/link", O_RDONLY); }, EACCES},
    {"createsOtherFiles",    [](const fs::path& at) { return opened(at / "other/new", O_WRONLY | O_CREAT); }, EACCES},
    {"removesOtherFiles",    [](const fs::path& at) { return done(::unlink((at / "other/file").c_str())); }, EACCES},
    {"takesFilesOut",        [](const fs::path& at) { return done(::rename((at / "container/file").c_str(), (at / "other/moved").c_str())); }, EACCES},
    {"changesAMode",         [](const fs::path& at) { return done(::chmod((at / "other/file").c_str(), 0777)); }, -SIGSYS},
    {"changesAnOwner",       [](const fs::path& at) { return done(::chown((at / "other/file").c_str(), 1, 1)); }, -SIGSYS},
    {"opensAConnection",     [](const fs::path&) { return ::socket(AF_INET, SOCK_STREAM, 0); }, -SIGSYS},
    {"opensALocalSocket",    [](const fs::path&) { return ::socket(AF_UNIX, SOCK_STREAM, 0); }, -SIGSYS},
    {"forks",                [](const fs::path&) { return ::fork() == 0 ? std::exit(0), 0 : 0; }, -SIGSYS},
    {"startsAProgram",       [](const fs::path&) { return ::execl("/bin/true", "true", nullptr); }, -SIGSYS},
    {"startsAShell",         [](const fs::path&) { return std::system("true"); }, -SIGSYS},
    {"tracesItsHost",        [](const fs::path&) { return static_cast<int>(::ptrace(PTRACE_ATTACH, ::getppid(), 0, 0)); }, -SIGSYS},
    {"signalsItsHost",       [](const fs::path&) { return ::kill(::getppid(), 0); }, -SIGSYS},
    {"signalsItsHostsThread", [](const fs::path&) { return static_cast<int>(::syscall(SYS_tgkill, ::getppid(), ::getppid(), 0)); }, -SIGSYS},
    {"aborts",               [](const fs::path&) { std::abort(); return 0; }, -SIGABRT},
    {"startsAThread",        [](const fs::path&) { std::thread([] {}).join(); return 0; }, 0},
};
// clang-format on

class ExtensionSandbox : public ::testing::TestWithParam<Case> {};

TEST_P(ExtensionSandbox, AllowsOnlyWhatAnExtensionNeeds) {
  const world::Folder folder;
  for (const char* name : {"bundle", "container", "other"}) {
    fs::create_directory(folder.path() / name);
    std::ofstream(folder.path() / name / "file") << "content";
  }
  fs::create_symlink(folder.path() / "other/file", folder.path() / "container/link");
  const pid_t child = ::fork();
  if (child == 0) {
    const auto missing = enterSandbox({folder.path() / "bundle"}, folder.path() / "container");
    for (const std::string& part : missing) {
      std::fprintf(stderr, "%s\n", part.c_str());
    }
    std::_Exit(missing.empty() ? GetParam().act(folder.path()) : kIncomplete);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  const int end = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
  if (end == kIncomplete) {
    GTEST_SKIP() << "this kernel lacks a part of the sandbox";
  }
  EXPECT_EQ(end, GetParam().end);
}

INSTANTIATE_TEST_SUITE_P(Actions,
                         ExtensionSandbox,
                         ::testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

/// Makes a system call fail, as on a kernel without it, if the low half of its first argument is at
/// least `least`.
void failCall(std::uint32_t call, std::uint32_t least, int error) {
  sock_filter program[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args)),
      BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, least, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog filter = {std::size(program), program};
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
}

struct Lacking {
  const char* part;
  /// Makes the kernel lack it.
  void (*lack)();
  std::string sentence;
  /// What the other part still prevents, as in `Case`.
  int (*act)(const fs::path& folder);
  int end;
  friend void PrintTo(const Lacking& row, std::ostream* out) { *out << row.part; }
};

const Lacking kLacking[] = {
    {"Landlock",
     [] { failCall(SYS_landlock_create_ruleset, 0, ENOSYS); },
     "the sandbox is incomplete: the kernel offers no Landlock (Function not implemented)",
     [](const fs::path&) { return ::socket(AF_INET, SOCK_STREAM, 0); },
     -SIGSYS},
    {"seccomp",
     [] { failCall(SYS_prctl, PR_SET_SECCOMP, EINVAL); },
     "the sandbox is incomplete: the kernel offers no seccomp (Invalid argument)",
     [](const fs::path& at) { return opened(at / "etc/passwd", O_RDONLY); },
     EACCES},
};

class IncompleteSandbox : public ::testing::TestWithParam<Lacking> {};

TEST_P(IncompleteSandbox, SaysWhatIsLackingAndKeepsTheRest) {
  const world::Folder folder;
  const pid_t child = ::fork();
  if (child == 0) {
    GetParam().lack();
    const std::vector<std::string> missing = {GetParam().sentence};
    const bool said = enterSandbox({}, folder.path()) == missing;
    std::_Exit(said ? GetParam().act("/") : kIncomplete);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status), GetParam().end);
}

INSTANTIATE_TEST_SUITE_P(Kernels,
                         IncompleteSandbox,
                         ::testing::ValuesIn(kLacking),
                         [](const auto& row) { return std::string(row.param.part); });

}  // namespace
}  // namespace platform

#endif
