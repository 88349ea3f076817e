#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <set>

#include "host/transfer/transfer_store.h"
#include "platform/support/child_process.h"
#include "tests/host/transfer/scripted_server.h"
#include "tests/world.h"

namespace host {
namespace {

using namespace world;
using enum Reply::After;

/// A process that only transfers.
class Worker {
 public:
  Worker(const std::filesystem::path& container, const std::string& url, int count)
      : child_({GLANCERY_TRANSFER_WORKER, container.string(), url, std::to_string(count)}) {}

  /// What it says next and of which task; nothing when it has ended.
  std::pair<std::string, std::string> next() {
    const std::string line = child_.line();
    const std::size_t space = std::min(line.find(' '), line.size());
    return {line.substr(0, space), line.substr(std::min(space + 1, line.size()))};
  }
  /// Reads lines up to and with the first that begins so.
  void await(const std::string& what) {
    for (auto line = next(); line.first != what; line = next()) {
      ASSERT_NE(line.first, "") << "the worker ended before it said \"" << what << '"';
    }
  }
  void kill() { child_.end(SIGKILL); }

 private:
  platform::ChildProcess child_;
};

struct Stage {
  const char* name;
  /// What the server does with the request of the host that is killed.
  Reply first;
  /// The line after which it is killed, or nothing for: once the server has its request.
  std::string line;
};

const Stage kStages[] = {
    {"added", answer("200 OK", "hello"), "added"},
    {"asked", {"", hang}, ""},
    {"withinTheBody", {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhel", hang}, ""},
    {"finished", answer("200 OK", "hello"), "finished"},
};

class Killed : public ::testing::TestWithParam<Stage> {};

TEST_P(Killed, AnotherHostFinishesAndDelivers) {
  ScriptedServer server({GetParam().first, answer("200 OK", "hello")});
  Folder folder;
  {
    Worker first(folder.path(), server.url(), 1);
    if (GetParam().line.empty()) {
      server.awaitRequests(1);
    } else {
      first.await(GetParam().line);
    }
    first.kill();
  }
  Worker second(folder.path(), server.url(), 0);
  const auto [what, id] = second.next();
  // The worker may have delivered the result just before the kill.
  if (GetParam().line != "finished") {
    EXPECT_EQ(what, "finished");
    second.await("delivered");
  }
  while (second.next().first != "") {
  }
  EXPECT_THAT(listTransfers(folder.path()).tasks, ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(When, Killed, ::testing::ValuesIn(kStages), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(Killed, ManyTimesAtAnyInstantLosesNothing) {
  ScriptedServer server([](std::size_t, const std::string&) {
    return answer("200 OK", std::string(1000, 'x'), keep);
  });
  Folder folder;
  std::set<std::string> added;
  std::set<std::string> delivered;
  const auto note = [&](const std::pair<std::string, std::string>& line) {
    EXPECT_NE(line.first, "failed") << line.second;
    if (line.first == "added") {
      added.insert(line.second);
    } else if (line.first == "finished") {
      delivered.insert(line.second);  // Counts as delivered even if the kill follows.
    }
  };
  for (int round = 0; round < 24; ++round) {
    Worker worker(folder.path(), server.url(), 6);
    // Each round kills the worker one line later, so that all stages are met.
    for (int lines = 0; lines < round; ++lines) {
      note(worker.next());
    }
    worker.kill();
    for (auto line = worker.next(); line.first != ""; line = worker.next()) {
      note(line);
    }
  }
  Worker last(folder.path(), server.url(), 0);
  for (auto line = last.next(); line.first != ""; line = last.next()) {
    note(line);
  }
  EXPECT_THAT(added, ::testing::IsSubsetOf(delivered));
  EXPECT_GT(added.size(), 50u);
  const auto listing = listTransfers(folder.path());
  EXPECT_THAT(listing.tasks, ::testing::IsEmpty());
  EXPECT_THAT(listing.damaged, ::testing::IsEmpty());
}

}  // namespace
}  // namespace host
