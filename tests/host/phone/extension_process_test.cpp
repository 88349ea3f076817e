#include "host/phone/extension_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <set>
#include <thread>

#include "host/phone/memory_limit.h"
#include "host/phone/widget_host.h"
#include "platform/support/files.h"
#include "tests/world.h"

namespace host {
namespace {

using namespace platform;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Kind = ExtensionFailure::Kind;

// Under a sanitizer every process is larger than any limit a phone would set.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kMemory = 0;
#else
constexpr std::size_t kMemory = std::size_t{30} << 20;
#endif
const ExtensionLimits kLimits = {.answer = 1000ms, .memory = kMemory};
const ExtensionLimits kGenerous = {.answer = 10s, .memory = kMemory};

/// A bundle whose extension misbehaves as its name says.
std::filesystem::path bundleThatDoes(const world::Folder& folder, const std::string& how) {
  auto bundle = folder.path() / how;
  std::filesystem::create_directories(bundle);
  std::filesystem::create_symlink(GLANCERY_MISBEHAVING_EXTENSION, bundle / "Glancery");
  return bundle;
}

std::unique_ptr<ExtensionProcess> startThatDoes(const world::Folder& folder,
                                                const std::string& how,
                                                ExtensionLimits limits = kLimits,
                                                ExtensionRequests requests = {}) {
  auto started = ExtensionProcess::start(bundleThatDoes(folder, how), limits, std::move(requests));
  EXPECT_TRUE(started) << started.error().reason;
  return *std::move(started);
}

struct Case {
  const char* how;
  Kind kind;
  const char* reason;
  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.how; }
};

class Misbehaviour : public ::testing::TestWithParam<Case> {};

TEST_P(Misbehaviour, IsEndedAndExplained) {
  const world::Folder folder;
  const auto extension = startThatDoes(folder, GetParam().how);
  for (int request = 0; request < 2; ++request) {
    const auto answer = extension->ask(DescribeRequest());
    ASSERT_FALSE(answer);
    EXPECT_EQ(answer.error().kind, GetParam().kind) << answer.error().reason;
    EXPECT_THAT(answer.error().reason, HasSubstr(GetParam().reason));
  }
  EXPECT_EQ(::kill(extension->pid(), 0), -1) << "the process is gone";
}

INSTANTIATE_TEST_SUITE_P(
    Extensions,
    Misbehaviour,
    ::testing::Values(
        Case{"crash", Kind::crashed, "the extension crashed: Aborted (about to fall)"},
        Case{"trespass", Kind::crashed, "the sandbox ended the extension: it made a system call"},
        Case{"leave", Kind::crashed, "the extension exited with status 7 without an answer"},
        Case{"hang", Kind::hung, "the extension was ended: it gave no answer within 1000 ms"},
        Case{"babble", Kind::malformed, "the extension was ended: it sent a malformed message"},
        Case{"mumble", Kind::malformed, "\"reloadAfter\" must be a finite number"},
        Case{"confuse", Kind::malformed, "it answered request 2 instead of 1"}),
    [](const auto& row) { return std::string(row.param.how); });

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
INSTANTIATE_TEST_SUITE_P(
    Memory,
    Misbehaviour,
    ::testing::Values(Case{"gulp", Kind::memory, "MiB of dirty memory, the limit is 30.0 MiB"},
                      Case{"hoard", Kind::memory, "MiB of dirty memory, the limit is 30.0 MiB"},
                      Case{"devour", Kind::memory, "of dirty memory, the limit is 30.0 MiB"}),
    [](const auto& row) { return std::string(row.param.how); });
#endif

TEST(WidgetHost, RefusesAnAnswerWithoutAnEntry) {
  const world::Folder folder;
  const auto home = bundleThatDoes(folder, "disappoint");
  WidgetHost host({.extension = home, .container = folder.path()});
  using enum ProvideRequest::What;
  for (const auto what : {placeholder, snapshot, timeline}) {
    EXPECT_THAT([&] { host.provide(what, "Empty"); },
                ::testing::ThrowsMessage<HostError>("the extension sent no entry of \"Empty\""));
  }
}

TEST(ExtensionProcess, MayMapFilesOfAnySize) {
  const world::Folder folder;
  const auto extension = startThatDoes(folder, "browse");
  const auto answer = extension->ask(DescribeRequest());
  EXPECT_TRUE(answer) << answer.error().reason;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(ExtensionProcess, TheProductRunsInTheSandbox) {
  const world::Folder folder;
  const auto started = ExtensionProcess::start(GLANCERY_BUILD "/Glancery.appex", kGenerous, {});
  ASSERT_TRUE(started) << started.error().reason;
  ASSERT_TRUE((*started)->ask(ConfigureRequest{.container = folder.path()}));
  const auto status = readFile("/proc/" + std::to_string((*started)->pid()) + "/status");
  EXPECT_THAT(status.value(), HasSubstr("Seccomp:\t2"));
}
#endif

TEST(ExtensionProcess, InheritsNoDescriptorOfItsHost) {
  const FileDescriptor kept(::dup(STDERR_FILENO));  // Not closed on exec.
  const world::Folder folder;
  const auto extension = startThatDoes(folder, "nothing");
  EXPECT_TRUE(extension->ask(DescribeRequest()));
  std::set<std::string> descriptors;
  for (const auto& entry :
       std::filesystem::directory_iterator("/proc/" + std::to_string(extension->pid()) + "/fd")) {
    descriptors.insert(entry.path().filename());
  }
  EXPECT_THAT(descriptors, ElementsAre("0", "1", "2", "3"));
}

TEST(DirtyMemory, CountsAnonymousPagesInMemoryAndSwappedOut) {
  EXPECT_EQ(dirtyMemoryIn("Name:\tGlancery\nVmHWM:\t   9000 kB\nRssAnon:\t    1300 kB\n"
                          "RssFile:\t    7000 kB\nRssShmem:\t      70 kB\nVmSwap:\t     200 kB\n"),
            1500u * 1024);
  EXPECT_EQ(dirtyMemoryIn("Name:\tGlancery\nState:\tZ (zombie)\n"), 0u);
  EXPECT_EQ(dirtyMemoryOf(-1), 0u);
}

TEST(ExtensionProcess, ALogLargerThanAPipeIsCollectedWhole) {
  const world::Folder folder;
  const auto extension = startThatDoes(folder, "chatter", kGenerous);
  ASSERT_TRUE(extension->ask(DescribeRequest()));
  ASSERT_EQ(extension->log().size(), 20000u);
  EXPECT_EQ(extension->log().back(), "line 19999 of more than any pipe holds at once");
}

TEST(ExtensionProcess, AnEndlessLogIsBounded) {
  const world::Folder folder;
  const auto extension = startThatDoes(folder, "flood");
  const auto answer = extension->ask(DescribeRequest());
  ASSERT_FALSE(answer);
  EXPECT_EQ(answer.error().kind, Kind::hung);
  EXPECT_LE(extension->takeLog().size(), 4200u) << "16 MiB";
}

TEST(ExtensionProcess, HandlesMessagesThatArriveDuringAnother) {
  const world::Folder folder;
  int reloads = 0;
  const auto reload = [&](const std::string&) {
    ++reloads;
    std::this_thread::sleep_for(100ms);  // The other messages arrive meanwhile.
  };
  const auto extension = startThatDoes(folder, "insist", kGenerous, {.reload = reload});
  const auto answer = extension->ask(DescribeRequest());
  EXPECT_TRUE(answer) << answer.error().reason;
  EXPECT_EQ(reloads, 3);
}

TEST(ExtensionProcess, IsKilledIfItDoesNotExitWithTheHost) {
  // The second one closes its log, which does not mean that it has exited.
  for (const char* how : {"linger", "withdraw"}) {
    const world::Folder folder;
    auto extension = startThatDoes(folder, how, kGenerous);
    ASSERT_TRUE(extension->ask(DescribeRequest()));
    const pid_t pid = extension->pid();
    extension.reset();
    EXPECT_EQ(::kill(pid, 0), -1) << how;
  }
}

TEST(ExtensionProcess, AMissingProgramIsNamed) {
  const auto started = ExtensionProcess::start("/nonexistent");
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().kind, Kind::notStarted);
  EXPECT_EQ(started.error().reason,
            "/nonexistent/Glancery can't be started: No such file or directory");
}

}  // namespace
}  // namespace host
