#include "platform/widgetkit/extension_sandbox.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <system_error>

#include "platform/support/files.h"

namespace platform {
namespace {

// Landlock: <https://docs.kernel.org/userspace-api/landlock.html>.

constexpr std::uint64_t kReadRights = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kTruncate = 1 << 14;
constexpr std::uint64_t kWriteRights =
    kReadRights | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
    LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
    LANDLOCK_ACCESS_FS_REFER | kTruncate;

/// All rights that this version of Landlock restricts; 0 if the kernel has none.
std::uint64_t restrictableRights() {
  const long version = ::syscall(
      SYS_landlock_create_ruleset, nullptr, 0, std::uint32_t{LANDLOCK_CREATE_RULESET_VERSION});
  const int count = version < 1 ? 0 : version == 1 ? 13 : version == 2 ? 14 : version < 5 ? 15 : 16;
  return (std::uint64_t{1} << count) - 1;
}

bool restrictFiles(const std::vector<std::filesystem::path>& readable,
                   const std::filesystem::path& writable) {
  landlock_ruleset_attr rules = {};
  rules.handled_access_fs = restrictableRights();
  const FileDescriptor ruleset(
      static_cast<int>(::syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0)));
  const auto allow = [&](const std::filesystem::path& folder, std::uint64_t rights) {
    const FileDescriptor opened(::open(folder.c_str(), O_PATH | O_CLOEXEC));
    landlock_path_beneath_attr rule = {};
    rule.allowed_access = rights & rules.handled_access_fs;
    rule.parent_fd = opened.get();
    // There is nothing to allow in a folder that does not exist.
    return !opened ||
           ::syscall(SYS_landlock_add_rule, ruleset.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) ==
               0;
  };
  bool allowed = allow(writable, kWriteRights);
  for (const std::filesystem::path& folder : readable) {
    allowed = allowed && allow(folder, kReadRights);
  }
  return allowed && ::syscall(SYS_landlock_restrict_self, ruleset.get(), 0) == 0;
}

bool restrictSystemCalls() {
  const std::unique_ptr<void, decltype(&seccomp_release)> filter(seccomp_init(SCMP_ACT_ALLOW),
                                                                 seccomp_release);
  bool added = filter != nullptr;
  const auto forbid = [&](int call, const auto&... conditions) {
    added =
        added &&
        seccomp_rule_add(
            filter.get(), SCMP_ACT_KILL_PROCESS, call, sizeof...(conditions), conditions...) == 0;
  };
  for (const int call : {
           // Connections.
           SCMP_SYS(socket),
           SCMP_SYS(socketpair),
           SCMP_SYS(connect),
           SCMP_SYS(bind),
           SCMP_SYS(listen),
           SCMP_SYS(accept),
           SCMP_SYS(accept4),
           SCMP_SYS(io_uring_setup),
           // Processes.
           SCMP_SYS(fork),
           SCMP_SYS(vfork),
           SCMP_SYS(execve),
           SCMP_SYS(execveat),
           SCMP_SYS(kill),
           SCMP_SYS(tkill),
           SCMP_SYS(pidfd_open),
           SCMP_SYS(pidfd_getfd),
           SCMP_SYS(pidfd_send_signal),
           SCMP_SYS(rt_sigqueueinfo),
           SCMP_SYS(rt_tgsigqueueinfo),
           SCMP_SYS(ptrace),
           SCMP_SYS(process_vm_readv),
           SCMP_SYS(process_vm_writev),
           // The system.
           SCMP_SYS(mount),
           SCMP_SYS(umount2),
           SCMP_SYS(unshare),
           SCMP_SYS(setns),
           SCMP_SYS(chroot),
           SCMP_SYS(open_by_handle_at),
           SCMP_SYS(bpf),
           SCMP_SYS(perf_event_open),
           SCMP_SYS(userfaultfd),
           SCMP_SYS(keyctl),
           SCMP_SYS(add_key),
           SCMP_SYS(request_key),
       }) {
    forbid(call);
  }
  // A new thread is allowed, and a signal to itself, as by `abort`.
  forbid(SCMP_SYS(clone), SCMP_A0(SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0));
  forbid(SCMP_SYS(tgkill), SCMP_A0(SCMP_CMP_NE, static_cast<scmp_datum_t>(::getpid())));
  // The filter can't read the flags of clone3; without it the C library uses clone.
  added = added && seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0) == 0;
  return added && seccomp_load(filter.get()) == 0;
}

std::string lacking(const char* what) {
  return std::string("the sandbox is incomplete: the kernel offers no ") + what + " (" +
         std::generic_category().message(errno) + ")";
}

}  // namespace

std::vector<std::string> enterSandbox(const std::vector<std::filesystem::path>& readable,
                                      const std::filesystem::path& writable) {
  std::vector<std::string> missing;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  // Both parts require that no program can be executed with more rights.
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  if (!restrictFiles(readable, writable)) {
    missing.push_back(lacking("Landlock"));
  }
  if (!restrictSystemCalls()) {
    missing.push_back(lacking("seccomp"));
  }
#endif
  return missing;
}

}  // namespace platform
