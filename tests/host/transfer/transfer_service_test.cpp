#include "host/transfer/transfer_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>

#include <atomic>
#include <fstream>

#include "host/transfer/transfer_cancellation.h"
#include "tests/host/transfer/transfer_world.h"

namespace host {
namespace {

using namespace world;
using enum Reply::After;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string urlOf(const LoopbackSocket& socket) {
  return "http://127.0.0.1:" + std::to_string(socket.port) + "/";
}

TEST(TransferService, WaitsForAServerWithGrowingPausesThatOutliveTheHost) {
  const LoopbackSocket nobody;
  Transfers transfers;
  const std::string id = transfers.add({.url = urlOf(nobody)});
  std::vector<double> pauses;
  for (int attempt = 1; attempt <= 12; ++attempt) {
    transfers.stepUntilWaiting(id, attempt);
    EXPECT_EQ(transfers.task(id).wait.error.code, -1004);
    pauses.push_back(transfers.task(id).wait.next - transfers.now);
    if (attempt % 3 == 0) {
      transfers.restart();
      EXPECT_EQ(transfers.task(id).wait.attempts, attempt);
      EXPECT_EQ(transfers.task(id).wait.next, transfers.now + pauses.back());
    }
    transfers.now = transfers.task(id).wait.next;
  }
  EXPECT_THAT(pauses, ElementsAre(1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 900, 900));
  ScriptedServer server(std::vector{answer("200 OK", "hello")}, nobody.port);
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
}

TEST(TransferService, DoesNotTryBeforeThePauseIsOverWhereverTheClockIsSet) {
  ScriptedServer server({Reply{""}, Reply{""}, answer("200 OK")});
  Transfers transfers;
  const std::string id = transfers.add({.url = server.url()});
  transfers.stepUntilWaiting(id);
  transfers.now += 0.5;
  for (int count = 0; count < 5; ++count) {
    transfers.service().step();
  }
  EXPECT_EQ(server.requests().size(), 1u);
  // Set back by a day, the clock must not keep the task waiting for one.
  transfers.now -= 86400;
  transfers.service().step();
  EXPECT_LE(transfers.task(id).wait.next, transfers.now + 1);
  transfers.restart();
  EXPECT_LE(transfers.task(id).wait.next, transfers.now + 1);
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
}

TEST(TransferService, SilenceEndsAnAttemptAndEveryByteStartsItAnew) {
  ScriptedServer server({Reply{"", hang},
                         Reply{"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhel", hang},
                         answer("200 OK", "hello")});
  Transfers transfers;
  const std::string id = transfers.add({.url = server.url()});
  const auto size = [&] {
    std::error_code none;
    const auto bytes = std::filesystem::file_size(transfers.service().bodyOf(id), none);
    return none ? 0 : bytes;
  };
  while (server.requests().empty()) {
    transfers.service().step(std::chrono::milliseconds(1));
  }
  transfers.service().step();
  transfers.now += 59;
  transfers.service().step();
  EXPECT_EQ(transfers.task(id).wait.attempts, 0);
  transfers.now += 1;
  transfers.service().step();
  EXPECT_EQ(transfers.task(id).wait.attempts, 1);
  EXPECT_EQ(transfers.task(id).wait.error.code, -1001);
  transfers.now += 1;

  while (size() < 3) {
    transfers.service().step(std::chrono::milliseconds(1));
  }
  transfers.now += 60;
  transfers.service().step();
  EXPECT_EQ(transfers.task(id).wait.attempts, 2);
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
  EXPECT_EQ(transfers.body(id), "hello");
}

TEST(TransferService, TheResourceLimitEndsATask) {
  ScriptedServer server({Reply{"", hang}});
  Transfers transfers;
  const LoopbackSocket nobody;
  const std::string refused = transfers.add({.url = urlOf(nobody)});
  const std::string silent = transfers.add({.url = server.url(), .timeout = 1e9});
  transfers.stepUntilWaiting(refused);
  server.awaitRequests(1);
  transfers.now += 7 * 86400 - 1;
  transfers.service().step();
  EXPECT_EQ(transfers.service().pending(), 2u);
  transfers.now += 1;
  transfers.service().step();
  for (const std::string& id : {refused, silent}) {
    EXPECT_EQ(endOf(transfers.task(id)), "-1001");
    EXPECT_EQ(transfers.task(id).outcome->error->localizedDescription, "The request timed out.");
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

TEST(TransferService, RefusesAddressesThatNoTransferCanReach) {
  Transfers transfers;
  for (const Unreachable& row : kUnreachable) {
    const std::string id = transfers.add({.url = row.url});
    transfers.settle();
    EXPECT_EQ(endOf(transfers.task(id)), row.end) << row.url;
    EXPECT_EQ(transfers.task(id).outcome->error->localizedDescription, row.text);
  }
  const std::string id = transfers.add({.url = "http://no-such-host.invalid/"});
  transfers.stepUntilWaiting(id);
  EXPECT_EQ(transfers.task(id).wait.error.code, -1003) << "a network may come";
}

TEST(TransferService, RefusesRequestsThatNoMessageCanHold) {
  Transfers transfers;
  const std::pair<TransferRequest, std::string> kRows[] = {
      {{.method = "PO ST"}, "method is no token: \"PO ST\""},
      {{.method = ""}, "method is no token"},
      {{.headers = {{"X Y", "a"}}}, "header name is no token: \"X Y\""},
      {{.headers = {{"X-API-KEY", "a\r\nX-Evil: 1"}}}, "header X-API-KEY holds a line break"},
      {{.url = std::string("http://a/\0b", 11)}, "address holds a NUL"},
      {{.timeout = 0}, "time-out is no positive number"},
  };
  for (const auto& [request, says] : kRows) {
    const auto id = transfers.service().add(request);
    ASSERT_FALSE(id);
    EXPECT_THAT(id.error(), HasSubstr(says));
  }
  EXPECT_FALSE(std::filesystem::exists(transfersFolder(transfers.container())));
}

TEST(TransferService, CancellingEndsATaskWaitingUnderWayOrFromAnotherProcess) {
  ScriptedServer server({Reply{"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhel", hang}});
  Transfers transfers;
  const std::string waiting = transfers.add({.url = server.url()});
  ASSERT_TRUE(transfers.service().cancel(waiting));
  const std::string running = transfers.add({.url = server.url()});
  const std::string other = transfers.add({.url = server.url()});
  while (server.requests().size() < 2) {
    transfers.service().step(std::chrono::milliseconds(1));
  }
  ASSERT_TRUE(transfers.service().cancel(running));
  const auto folder = transfersFolder(transfers.container());
  ASSERT_TRUE(requestCancellation(folder, other));
  ASSERT_TRUE(requestCancellation(folder, "1-gone"));
  transfers.now += 1;
  transfers.service().step();
  EXPECT_THAT(cancellations(folder), IsEmpty());
  for (const std::string& id : {waiting, running, other}) {
    EXPECT_EQ(endOf(transfers.task(id)), "-999");
    EXPECT_FALSE(transfers.service().cancel(id)) << "ended before";
  }
  EXPECT_FALSE(transfers.service().cancel("1-unknown"));
  EXPECT_THAT(transfers.files(), ElementsAre("journal"));
}

TEST(TransferService, TwoTasksForOneAddressAreTwoTransfersAtOnce) {
  // The first is answered only when the second has been asked.
  std::atomic<int> asked = 0;
  ScriptedServer server([&](std::size_t count, const std::string&) {
    ++asked;
    while (asked < 2) {
      std::this_thread::yield();
    }
    return answer("200 OK", std::to_string(count));
  });
  Transfers transfers;
  const std::string first = transfers.add({.url = server.url()});
  const std::string second = transfers.add({.url = server.url()});
  EXPECT_NE(first, second);
  transfers.settle();
  EXPECT_EQ(transfers.body(first) + transfers.body(second) == "01" ||
                transfers.body(first) + transfers.body(second) == "10",
            true);
}

TEST(TransferService, ADeliveredBodyIsGoneAtTheLatestWhenNoOtherIsOnItsWay) {
  ScriptedServer server([](std::size_t, const std::string& request) {
    return request.starts_with("GET /slow") ? Reply{"", hang} : answer("200 OK", "hello");
  });
  Transfers transfers;
  const std::string slow = transfers.add({.url = server.url("/slow")});
  const std::string quick = transfers.add({.url = server.url("/quick")});
  while (!transfers.task(quick).outcome) {
    transfers.service().step(std::chrono::milliseconds(1));
  }
  const auto body = transfers.service().bodyOf(quick);
  EXPECT_EQ(readWhole(body), "hello");
  ASSERT_TRUE(transfers.service().markDelivered(quick));
  ASSERT_TRUE(transfers.service().cancel(slow));
  transfers.service().step();
  EXPECT_FALSE(std::filesystem::exists(body));
  ASSERT_TRUE(transfers.service().markDelivered(slow));
  EXPECT_THAT(transfers.files(), ElementsAre("journal"));
}

TEST(TransferService, ResultsComeInTheOrderOfTheirEndsAlsoAfterARestart) {
  ScriptedServer server({answer("200 OK", "hello")});
  Transfers transfers;
  std::vector<std::string> ids;
  for (int count = 0; count < 3; ++count) {
    ids.push_back(transfers.add({.url = "ftp://later"}));
  }
  ASSERT_TRUE(transfers.service().cancel(ids[2]));
  ASSERT_TRUE(transfers.service().cancel(ids[0]));
  transfers.settle();
  const auto order = [&] {
    std::vector<std::string> ended;
    for (const TransferTask* task : transfers.service().finished()) {
      ended.push_back(task->id);
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
  const std::string last = transfers.add({.url = server.url()});
  EXPECT_FALSE(transfers.service().markDelivered(last)) << "not ended";
  transfers.now -= 1000;
  transfers.settle();
  EXPECT_EQ(order().back(), last) << "a clock that was set back changes no order";
}

TEST(TransferService, ABodyGoesThroughWithoutBeingHeld) {
  constexpr std::size_t kSize = 64 << 20;
  ScriptedServer server([](std::size_t, const std::string&) {
    static const std::string reply = answer("200 OK", std::string(kSize, 'x')).bytes;
    return Reply{reply, close};
  });
  Transfers transfers;
  const std::string id = transfers.add({.url = server.url()});
  // The server of the test holds the body, so the peak is not that of the process but its growth
  // while bytes arrive.
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
    transfers.service().step(std::chrono::milliseconds(1));
    const auto size = std::filesystem::file_size(transfers.service().bodyOf(id), none);
    if (!none && size > 0) {
      first = first == 0 ? resident() : first;
      most = std::max(most, resident());
    }
  }
  EXPECT_EQ(transfers.task(id).outcome->answer->size, kSize);
  EXPECT_LT(most - std::min(first, most), kSize / 8);
}

TEST(TransferService, ItsDescriptorTellsWhenThereIsSomethingToDo) {
  ScriptedServer server({Reply{""}, answer("200 OK")});
  Folder folder;
  TransferSettings settings;  // With the machine's clock: the pause of a second is waited out.
  settings.engine = [] { return loadTransferEngine(GLANCERY_BUILD "/libglancery_transfer.so"); };
  TransferService service(folder.path(), settings);
  ASSERT_TRUE(service.add(TransferRequest{.session = "s", .url = server.url()}));
  int wakes = 0;
  while (service.pending() > 0) {
    pollfd wanted = {service.descriptor(), POLLIN, 0};
    ASSERT_EQ(::poll(&wanted, 1, 20'000), 1) << "nobody would have called step";
    service.step();
    ++wakes;
  }
  EXPECT_EQ(endOf(*service.finished().front()), "200");
  EXPECT_LT(wakes, 100) << "it must not spin";
}

TEST(TransferService, WithoutItsLibraryTasksStayAndItIsSaidOnce) {
  Folder folder;
  double now = 1'700'000'000;
  TransferSettings settings;
  settings.clock = [&] { return now; };
  settings.engine = [] { return loadTransferEngine("/nonexistent/libglancery_transfer.so"); };
  TransferService service(folder.path(), settings);
  ASSERT_TRUE(service.add(TransferRequest{.session = "s", .url = "http://127.0.0.1/"}));
  service.step();
  service.step();
  EXPECT_THAT(service.takeReports(),
              ElementsAre(HasSubstr("/nonexistent/libglancery_transfer.so")));
  EXPECT_EQ(service.pending(), 1u);
  EXPECT_EQ(listTransfers(folder.path()).tasks.size(), 1u);
}

}  // namespace
}  // namespace host
