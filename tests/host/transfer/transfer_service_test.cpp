#include "host/transfer/transfer_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>

#include <atomic>
#include <csignal>
#include <fstream>

#include "tests/host/transfer/transfer_world.h"

namespace host {
namespace {

using namespace world;
using enum Reply::After;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string urlOf(const host::ReservedPort& socket) {
  return "http://127.0.0.1:" + std::to_string(socket.number()) + "/";
}

TEST(TransferService, WaitsForAServerWithGrowingPausesThatOutliveTheHost) {
  const host::ReservedPort closed;
  Transfers transfers;
  const auto id = transfers.add({.url = urlOf(closed)});
  std::vector<double> pauses;
  for (int attempt = 1; attempt <= 12; ++attempt) {
    transfers.stepUntilWaiting(id, attempt);
    EXPECT_EQ(transfers.task(id).outcome.error->code, -1004);
    pauses.push_back(transfers.task(id).next - transfers.now);
    if (attempt % 3 == 0) {
      transfers.restart();
      EXPECT_EQ(transfers.task(id).attempts, attempt);
      EXPECT_EQ(transfers.task(id).next, transfers.now + pauses.back());
    }
    transfers.now = transfers.task(id).next;
  }
  EXPECT_THAT(pauses, ElementsAre(1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 900, 900));
  ScriptedServer server(std::vector{answer("200 OK", "hello")}, closed.number());
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
}

TEST(TransferService, WaitsForTheEndOfThePauseEvenIfTheClockIsSet) {
  ScriptedServer server({Reply{""}, Reply{""}, answer("200 OK")});
  Transfers transfers;
  const auto id = transfers.add({.url = server.url()});
  transfers.stepUntilWaiting(id);
  transfers.now += 0.5;
  for (int count = 0; count < 5; ++count) {
    transfers.service().step();
  }
  EXPECT_EQ(server.requests().size(), 1u);
  // Set back by a day, the clock must not keep the task waiting for one.
  transfers.now -= 86400;
  transfers.service().step();
  EXPECT_LE(transfers.task(id).next, transfers.now + 1);
  transfers.restart();
  transfers.service().step();
  EXPECT_LE(transfers.task(id).next, transfers.now + 1);
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
}

TEST(TransferService, SilenceEndsAnAttempt) {
  ScriptedServer server({Reply{"", hang},
                         Reply{"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhel", hang},
                         answer("200 OK", "hello")});
  Transfers transfers;
  const auto id = transfers.add({.url = server.url(), .timeout = 1});
  for (const int attempt : {1, 2}) {
    transfers.stepUntilWaiting(id, attempt);
    EXPECT_EQ(transfers.task(id).outcome.error->code, -1001);
    transfers.skipPause();
  }
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
  EXPECT_EQ(transfers.body(id), "hello");
}

/// The server reads the whole request and closes the connection without an answer.
TEST(TransferService, SendsAPostThreeTimesAtMost) {
  for (const auto& [method, sends] : {std::pair("POST", 3u), std::pair("GET", 6u)}) {
    ScriptedServer server({Reply{""}});
    Transfers transfers;
    const auto id = transfers.add({.url = server.url(), .method = method, .body = "{}"});
    for (const int attempt : {1, 2}) {
      transfers.stepUntilWaiting(id, attempt);
      transfers.skipPause();
    }
    transfers.restart();
    while (server.requests().size() < sends) {
      transfers.service().step(std::chrono::milliseconds(1));
      transfers.skipPause();
    }
    if (sends == 3) {
      transfers.settle();
      EXPECT_EQ(endOf(transfers.task(id)), "-1005");
      EXPECT_EQ(server.requests().size(), 3u);
    } else {
      EXPECT_EQ(endOf(transfers.task(id)), "pending");
    }
  }
}

TEST(TransferService, APostThatNeverLeftWaitsForTheNetwork) {
  const host::ReservedPort unreachable;
  Transfers transfers;
  const auto id = transfers.add({.url = urlOf(unreachable), .method = "POST", .body = "{}"});
  for (int attempt = 1; attempt <= 6; ++attempt) {
    transfers.stepUntilWaiting(id, attempt);
    transfers.skipPause();
  }
  EXPECT_EQ(endOf(transfers.task(id)), "pending");
  EXPECT_EQ(transfers.task(id).sends, 0);
}

/// A host that is killed during an attempt may have sent the request.
TEST(TransferService, AnAttemptThatAKillInterruptedCountsAsSent) {
  ScriptedServer server({Reply{"", hang}});
  Transfers transfers;
  const auto id = transfers.add({.url = server.url(), .method = "POST", .body = "{}"});
  for (std::size_t sent = 1; sent <= 3; ++sent) {
    while (server.requests().size() < sent) {
      transfers.service().step(std::chrono::milliseconds(1));
    }
    transfers.restart();
  }
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "-1005");
  EXPECT_EQ(server.requests().size(), 3u);
}

TEST(TransferService, TheResourceLimitEndsATask) {
  ScriptedServer server({Reply{"", hang}});
  Transfers transfers;
  const host::ReservedPort closed;
  const auto refused = transfers.add({.url = urlOf(closed)});
  const auto silent = transfers.add({.url = server.url(), .timeout = 1e9});
  transfers.stepUntilWaiting(refused);
  server.awaitRequests(1);
  transfers.now += 7 * 86400 - 1;
  transfers.service().step();
  EXPECT_EQ(transfers.service().pending(), 2u);
  transfers.now += 1;
  transfers.service().step();
  for (const auto id : {refused, silent}) {
    EXPECT_EQ(endOf(transfers.task(id)), "-1001");
    EXPECT_EQ(transfers.task(id).outcome.error->localizedDescription, "The request timed out.");
  }
}

struct Unreachable {
  const char* url;
  const char* end;
  const char* text;
};

const Unreachable kUnreachable[] = {
    {"ftp://127.0.0.1/x", "-1002", "unsupported URL"},
    {"file:///etc/passwd", "-1002", "unsupported URL"},
    {"quiloapp://streak", "-1002", "unsupported URL"},
    {"127.0.0.1/x", "-1002", "unsupported URL"},
    {"", "-1002", "unsupported URL"},
    {"http://", "-1000", "bad URL"},
    {"http://127.0.0.1:99999/", "-1000", "bad URL"},
    {"http://exa mple/", "-1000", "bad URL"},
};

TEST(TransferService, RefusesUnsupportedURLs) {
  Transfers transfers;
  for (const Unreachable& row : kUnreachable) {
    const auto id = transfers.add({.url = row.url});
    transfers.settle();
    EXPECT_EQ(endOf(transfers.task(id)), row.end) << row.url;
    EXPECT_EQ(transfers.task(id).outcome.error->localizedDescription, row.text);
  }
  const auto id = transfers.add({.url = "http://no-such-host.invalid/"});
  transfers.stepUntilWaiting(id);
  EXPECT_EQ(transfers.task(id).outcome.error->code, -1003) << "the network may come back";
}

TEST(TransferService, RefusesInvalidRequests) {
  Transfers transfers;
  const std::pair<TransferRequest, std::string> kRows[] = {
      {{.method = "PO ST"}, "method is not a token: \"PO ST\""},
      {{.method = ""}, "method is not a token"},
      {{.headers = {{"X Y", "a"}}}, "header name is not a token: \"X Y\""},
      {{.headers = {{"X-API-KEY", "a\r\nX-Evil: 1"}}}, "header X-API-KEY holds a line break"},
      {{.url = std::string("http://a/\0b", 11)}, "URL holds a NUL"},
      {{.timeout = 0}, "timeout is not a positive number"},
  };
  for (const auto& [request, says] : kRows) {
    const auto id = transfers.service().add(request);
    ASSERT_FALSE(id);
    EXPECT_THAT(id.error(), HasSubstr(says));
  }
  EXPECT_FALSE(std::filesystem::exists(transfers.folder() / "transfers.db"));
}

TEST(TransferService, CancellingEndsATaskHereAndInAnotherProcess) {
  ScriptedServer server({Reply{"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhel", hang}});
  Transfers transfers;
  const auto waiting = transfers.add({.url = server.url()});
  EXPECT_EQ(transfers.service().cancel(transfers.task(waiting)), true);
  const auto running = transfers.add({.url = server.url()});
  const auto other = transfers.add({.url = server.url()});
  while (server.requests().size() < 2) {
    transfers.service().step(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(transfers.service().cancel(transfers.task(running)), true);
  {
    TransferService command(transfers.container());
    EXPECT_EQ(command.cancel(transfers.task(other)), true);
    EXPECT_EQ(transfers.service().cancel(transfers.task(other)), false) << "it has ended";
  }
  while (transfers.service().pending() > 0) {
    transfers.service().step(std::chrono::milliseconds(100));
  }
  for (const auto id : {waiting, running, other}) {
    EXPECT_EQ(endOf(transfers.task(id)), "-999");
  }
  EXPECT_THAT(transfers.bodies(), IsEmpty());
}

TEST(TransferService, TwoTasksForOneURLAreTwoTransfersAtOnce) {
  // The first answer waits for the second request.
  std::atomic<int> asked = 0;
  ScriptedServer server([&](std::size_t count, const std::string&) {
    ++asked;
    while (asked < 2) {
      std::this_thread::yield();
    }
    return answer("200 OK", std::to_string(count));
  });
  Transfers transfers;
  const auto first = transfers.add({.url = server.url()});
  const auto second = transfers.add({.url = server.url()});
  EXPECT_NE(first, second);
  transfers.settle();
  EXPECT_EQ(transfers.body(first) + transfers.body(second) == "01" ||
                transfers.body(first) + transfers.body(second) == "10",
            true);
}

TEST(TransferService, AResultIsHandedOverUntilItIsDelivered) {
  ScriptedServer server({answer("200 OK", "hello")});
  Transfers transfers;
  const auto id = transfers.add({.url = server.url()});
  transfers.settle();
  for (int round = 0; round < 2; ++round) {
    const auto file = transfers.service().handOver(id);
    ASSERT_TRUE(file) << file.error();
    EXPECT_EQ(readWhole(*file), "hello");
    EXPECT_FALSE(transfers.service().wasTaken(id));
    std::filesystem::remove(*file);
    EXPECT_TRUE(transfers.service().wasTaken(id));
    transfers.restart();
    ASSERT_EQ(transfers.service().finished().size(), 1u);
  }
  EXPECT_EQ(server.requests().size(), 1u);
  ASSERT_TRUE(transfers.service().handOver(id));
  ASSERT_TRUE(transfers.service().markDelivered(id));
  EXPECT_THAT(transfers.bodies(), IsEmpty());
}

TEST(TransferService, AnUndeliverableResultWaitsForTheNextHostAndBlocksNoOther) {
  Transfers transfers;
  const auto id = transfers.add({.url = "ftp://x"});
  const auto other = transfers.add({.url = "ftp://x"});
  transfers.settle();
  transfers.service().markUndelivered(id, "no widget takes it");
  ASSERT_EQ(transfers.service().finished().size(), 1u);
  EXPECT_EQ(transfers.service().finished()[0].id, other);
  EXPECT_EQ(listTransfers(transfers.container()).tasks[0].undelivered, "no widget takes it");
  transfers.restart();
  EXPECT_EQ(transfers.service().finished().size(), 2u);
  EXPECT_EQ(transfers.service().cancel(transfers.task(id)), true);
  EXPECT_EQ(listTransfers(transfers.container()).tasks.size(), 1u);
}

TEST(TransferService, ResultsComeInTheOrderOfTheirEndsAlsoAfterARestart) {
  ScriptedServer server({answer("200 OK", "hello")});
  Transfers transfers;
  std::vector<std::int64_t> ids;
  for (int count = 0; count < 3; ++count) {
    ids.push_back(transfers.add({.url = "ftp://later"}));
  }
  ASSERT_TRUE(transfers.service().cancel(transfers.task(ids[2])));
  ASSERT_TRUE(transfers.service().cancel(transfers.task(ids[0])));
  transfers.settle();
  const auto order = [&] {
    std::vector<std::int64_t> ended;
    for (const TransferTask& task : transfers.service().finished()) {
      ended.push_back(task.id);
    }
    return ended;
  };
  EXPECT_THAT(order(), ElementsAre(ids[2], ids[0], ids[1]));
  transfers.restart();
  EXPECT_THAT(order(), ElementsAre(ids[2], ids[0], ids[1]));
  EXPECT_TRUE(transfers.service().markDelivered(ids[0]));
  EXPECT_FALSE(transfers.service().markDelivered(ids[0]));
  transfers.restart();
  EXPECT_THAT(order(), ElementsAre(ids[2], ids[1]));
  const auto last = transfers.add({.url = server.url()});
  EXPECT_FALSE(transfers.service().markDelivered(last)) << "not ended";
  transfers.now -= 1000;
  transfers.settle();
  EXPECT_EQ(order().back(), last) << "a clock that was set back changes no order";
}

TEST(TransferService, ABodyIsNeverHeldInMemory) {
  constexpr std::size_t kSize = 128 << 20;
  ScriptedServer server([](std::size_t, const std::string&) {
    static const std::string reply = answer("200 OK", std::string(kSize, 'x')).bytes;
    return Reply{reply, close};
  });
  Transfers transfers;
  const auto id = transfers.add({.url = server.url()});
  // The server of this test holds the body in the same process: only the growth counts.
  server.awaitRequests(0);
  const auto resident = [] {
    std::ifstream in("/proc/self/statm");
    std::size_t pages = 0;
    in >> pages >> pages;
    return pages * static_cast<std::size_t>(::getpagesize());
  };
  std::size_t first = 0;
  std::size_t most = 0;
  std::error_code none;
  while (transfers.service().pending() > 0) {
    transfers.service().step(std::chrono::milliseconds(10));
    const auto size = std::filesystem::file_size(transfers.bodyFile(id), none);
    if (!none && size > 0) {
      first = first == 0 ? resident() : first;
      most = std::max(most, resident());
    }
  }
  EXPECT_EQ(transfers.task(id).outcome.size, kSize);
  EXPECT_LT(most - std::min(first, most), kSize / 8);
}

TEST(TransferService, ItsDescriptorIsReadableWhenThereIsSomethingToDo) {
  ScriptedServer server({Reply{""}, answer("200 OK")});
  Folder folder;
  TransferSettings settings;  // With the machine's clock, so that the pause takes a second.
  settings.library = GLANCERY_BUILD "/libglancery_transfer.so";
  TransferService service(folder.path(), settings);
  ASSERT_TRUE(service.add(TransferRequest{.session = "s", .url = server.url()}));
  int wakes = 0;
  while (service.pending() > 0) {
    pollfd wanted = {service.descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&wanted, 1, 20'000), 1) << "`step` would not be called";
    service.step();
    ++wakes;
  }
  EXPECT_EQ(endOf(service.finished().front()), "200");
  EXPECT_LT(wakes, 100) << "it must not spin";
}

TEST(TransferService, WithoutItsLibraryTasksStayAndSayWhy) {
  Folder folder;
  double now = 1'700'000'000;
  TransferSettings settings;
  settings.clock = [&] { return now; };
  settings.library = "/nonexistent/libglancery_transfer.so";
  TransferService service(folder.path(), settings);
  ASSERT_TRUE(service.add(TransferRequest{.session = "s", .url = "http://127.0.0.1/"}));
  service.step();
  service.step();
  EXPECT_THAT(service.takeReports(),
              ElementsAre(HasSubstr("/nonexistent/libglancery_transfer.so")));
  EXPECT_EQ(service.pending(), 1u);
  const TransferTask stored = listTransfers(folder.path()).tasks.at(0);
  EXPECT_EQ(stored.sends, 0);
  EXPECT_THAT(stored.outcome.error->localizedDescription,
              HasSubstr("/nonexistent/libglancery_transfer.so"));
}

void waitFor(TransferService& service, const std::function<bool()>& done) {
  while (!done()) {
    service.step(std::chrono::milliseconds(100));
  }
}

TEST(TransferService, TakesOverTasksOfAnEndedHostWithoutATimer) {
  ScriptedServer server({answer("200 OK")});
  Transfers transfers;
  pollfd wanted = {transfers.service().descriptor(), POLLIN, 0};
  EXPECT_EQ(::poll(&wanted, 1, 100), 0) << "nothing is pending";
  {
    TransferService command(transfers.container());
    ASSERT_TRUE(command.add({.session = "s", .url = server.url()}));
  }
  EXPECT_EQ(::poll(&wanted, 1, 1000), 1);
  waitFor(transfers.service(), [&] { return !transfers.service().finished().empty(); });
}

TEST(TransferService, AfterItsDatabaseWasRemovedItSendsNothingAndGoesOn) {
  ScriptedServer server([](std::size_t count, const std::string&) {
    return count == 0 ? Reply{"", hang} : answer("200 OK");
  });
  Transfers transfers;
  transfers.add({.url = server.url(), .method = "POST"});
  waitFor(transfers.service(), [&] { return !server.requests().empty(); });
  std::filesystem::remove_all(transfers.container() / "Library");
  waitFor(transfers.service(), [&] { return transfers.service().pending() == 0; });
  EXPECT_THAT(transfers.service().takeReports(),
              ElementsAre(HasSubstr("transfers.db was removed")));
  transfers.now += 1e4;
  transfers.service().step();
  EXPECT_EQ(server.requests().size(), 1u);
  const auto id = transfers.add({.url = server.url()});
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
}

/// A system that can't start a thread for an attempt, as its stack is too large.
TEST(TransferService, AnAttemptWhoseThreadCannotStartIsRepeatedLater) {
  ScriptedServer server({answer("200 OK", "hello")});
  Transfers transfers;
  const auto id = transfers.add({.url = server.url(), .method = "POST"});
  pthread_attr_t before;
  ::pthread_getattr_default_np(&before);
  pthread_attr_t huge = before;
  ::pthread_attr_setstacksize(&huge, std::size_t{1} << 47);
  ::pthread_setattr_default_np(&huge);
  transfers.service().step();
  ::pthread_setattr_default_np(&before);
  EXPECT_EQ(endOf(transfers.task(id)), "pending");
  EXPECT_EQ(transfers.task(id).attempts, 1);
  EXPECT_EQ(transfers.task(id).sends, 0);
  EXPECT_THAT(transfers.task(id).outcome.error->localizedDescription,
              HasSubstr("can't start a thread: Resource temporarily unavailable"));
  EXPECT_EQ(server.requests().size(), 0u);
  transfers.skipPause();
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
}

/// libcurl repeats a request if a reused connection ends without an answer, unless that is switched
/// off.
TEST(TransferService, APostOnAReusedConnectionIsNotRepeatedByTheLibrary) {
  for (const auto& [method, attempts] : {std::pair("POST", 1), std::pair("GET", 0)}) {
    ScriptedServer server({answer("200 OK", "", keep), Reply{""}, answer("200 OK", "hello")});
    Transfers transfers;
    transfers.add({.url = server.url()});
    transfers.settle();
    const auto id = transfers.add({.url = server.url(), .method = method, .body = "{}"});
    transfers.settle();
    EXPECT_EQ(endOf(transfers.task(id)), "200");
    EXPECT_EQ(transfers.task(id).attempts, attempts) << method;
    EXPECT_EQ(server.requests().size(), 3u);
  }
}

/// No file can be written, or none can be opened.
TEST(TransferService, SendsNothingWhoseAnswerItCannotStore) {
  const std::pair<__rlimit_resource, const char*> kRows[] = {{RLIMIT_NOFILE, "Too many open files"},
                                                             {RLIMIT_FSIZE, "File too large"}};
  ::signal(SIGXFSZ, SIG_IGN);
  for (const auto& [limit, why] : kRows) {
    ScriptedServer server({answer("200 OK", "hello")});
    Transfers transfers;
    const auto id = transfers.add({.url = server.url(), .method = "POST"});
    rlimit before = {};
    ::getrlimit(limit, &before);
    const rlimit none = {0, before.rlim_max};
    ::setrlimit(limit, &none);
    transfers.service().step();
    ::setrlimit(limit, &before);
    EXPECT_EQ(transfers.task(id).attempts, 1);
    EXPECT_THAT(transfers.task(id).outcome.error->localizedDescription, HasSubstr(why));
    EXPECT_EQ(transfers.task(id).sends, 0);
    EXPECT_EQ(server.requests().size(), 0u);
    transfers.now = transfers.task(id).next;
    transfers.settle();
    EXPECT_EQ(endOf(transfers.task(id)), "200");
  }
}

}  // namespace
}  // namespace host
