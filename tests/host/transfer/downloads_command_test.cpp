#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include <nlohmann/json.hpp>

#include "host/transfer/transfer_store.h"
#include "platform/foundation/network/url_error.h"
#include "tests/host/command_line.h"
#include "tests/host/transfer/scripted_server.h"

namespace host {
namespace {

using namespace world;
using platform::urlError;
using platform::URLErrorCode;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::ordered_json;

constexpr double kCreated = 1'700'000'000;

/// A task in each state, left by a host that has ended.
struct Left {
  Left() {
    std::filesystem::create_directories(phone.container());
    TransferStore store(phone.container());
    const TransferRequest request = {.session = "s", .url = "http://x/\xFF", .method = "POST"};
    const auto add = [&] { return TransferTask{.id = store.add(request, kCreated).value()}; };
    TransferTask waiting = add();
    waiting.attempts = 2;
    waiting.next = kCreated + 60;
    waiting.outcome.error = urlError(URLErrorCode::cannotConnectToHost);
    EXPECT_EQ(store.keep(waiting), true);
    TransferTask done = add();
    TransferTask failed = add();
    failed.outcome.error = urlError(URLErrorCode::timedOut);
    EXPECT_EQ(store.end(failed), true);
    failed.undelivered = "no widget takes it";
    EXPECT_EQ(store.keep(failed), true);
    done.outcome = {.status = 503, .size = 5};
    EXPECT_EQ(store.end(done), true);
    writeWhole(store.bodyOf(done.id), "hello");
    writeWhole(store.bodyOf(9).replace_filename("transfers.db.damaged"), "damaged");
  }
  Json list() const { return Json::parse(phone.glancery({"downloads", "--json"}).out); }
  Phone phone;
};

TEST(DownloadsCommand, ListsWhatIsPendingDoneAndFailedAndWhy) {
  const Left left;
  const Json list = left.list();
  ASSERT_EQ(list["downloads"].size(), 3u);
  // Compared as texts: the order of the members counts.
  EXPECT_EQ(list["downloads"][0].dump(),
            Json::parse(R"({
    "id": 1, "session": "s", "method": "POST", "url": "http://x/�",
    "state": "pending", "hosted": false, "created": "2023-11-14T22:13:20.000Z",
    "attempts": 2, "sends": 0, "nextAttempt": "2023-11-14T22:14:20.000Z", "status": null,
    "bytes": null,
    "error": {"domain": "NSURLErrorDomain", "code": -1004,
              "description": "Could not connect to the server."}, "undelivered": null})")
                .dump());
  // Ended downloads are in the order of their ends.
  EXPECT_EQ(list["downloads"][1]["id"], 3);
  EXPECT_EQ(list["downloads"][1]["state"], "failed");
  EXPECT_EQ(list["downloads"][1]["error"]["code"], -1001);
  EXPECT_EQ(list["downloads"][1]["undelivered"], "no widget takes it");
  EXPECT_EQ(list["downloads"][2]["state"], "done");
  EXPECT_EQ(list["downloads"][2]["status"], 503);
  EXPECT_EQ(list["downloads"][2]["bytes"], 5);
  EXPECT_EQ(list["downloads"][2]["nextAttempt"], nullptr);
  ASSERT_EQ(list["damaged"].size(), 1u);
  EXPECT_THAT(list["damaged"][0].get<std::string>(), HasSubstr("transfers.db.damaged"));

  const ProgramEnd ran = left.phone.glancery({"downloads"});
  EXPECT_THAT(ran.out, StartsWith("1  pending  s\n  POST http://x/"));
  EXPECT_THAT(ran.out,
              HasSubstr("2 attempts failed, last error: Could not connect to the server. (-1004); "
                        "next attempt at 2023-11-14T22:14:20.000Z\n"));
  EXPECT_THAT(
      ran.out,
      HasSubstr("  The request timed out. (-1001), can't be delivered: no widget takes it\n"));
  EXPECT_THAT(ran.out, HasSubstr("  status 503, 5 bytes, not delivered yet\n"));
  EXPECT_THAT(ran.out, HasSubstr("damaged: "));
  EXPECT_EQ(Phone().glancery({"downloads"}).out, "no downloads\n");
}

TEST(DownloadsCommand, CancelsWhatIsPendingAndClearsWhatCannotBeDelivered) {
  const Left left;
  EXPECT_EQ(left.phone.glancery({"downloads", "cancel", "1"}).status, 0);
  EXPECT_EQ(left.list()["downloads"].back()["error"]["code"], -999);
  EXPECT_EQ(left.phone.glancery({"downloads", "cancel", "3"}).status, 0);
  EXPECT_EQ(left.list()["downloads"].size(), 2u);

  const struct {
    const char* id;
    int status;
    const char* says;
  } kRows[] = {{"1", 1, "1 has ended (cancelled (-999)"},
               {"2", 1, "2 has ended (status 503"},
               {"3", 1, "no download 3: there are 2, 1"},
               {"../../etc", 2, "../../etc"}};
  for (const auto& row : kRows) {
    const ProgramEnd ran = left.phone.glancery({"downloads", "cancel", row.id});
    EXPECT_EQ(ran.status, row.status) << ran.err;
    EXPECT_THAT(ran.err, HasSubstr(row.says));
  }
}

TEST(DownloadsCommand, CancelsWhatAnotherHostIsRunning) {
  ScriptedServer server(std::vector{Reply{"", Reply::After::hang}});
  Folder container;
  ChildProcess worker({GLANCERY_TRANSFER_WORKER, container.path(), server.url(), "1"});
  const std::string id = worker.line().substr(std::string("added ").size());
  server.awaitRequests(1);
  const ProgramEnd ran = run(GLANCERY_BUILD "/glancery",
                             {"downloads", "cancel", id, "--container", container.path().string()});
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(worker.line(), "finished " + id);
}

/// A host runs eight attempts at once; a ninth download is in its queue.
TEST(DownloadsCommand, SaysWhichDownloadsWaitInAQueue) {
  ScriptedServer server(std::vector{Reply{"", Reply::After::hang}});
  const Phone phone;
  std::filesystem::create_directories(phone.container());
  ChildProcess worker({GLANCERY_TRANSFER_WORKER, phone.container(), server.url(), "9"});
  const auto lines = [&] { return phone.glancery({"downloads"}).out; };
  server.awaitRequests(8);
  const std::string out = lines();
  const auto count = [&](const std::string& text) {
    std::size_t found = 0;
    for (std::size_t at = 0; (at = out.find(text, at)) != out.npos; ++at) {
      ++found;
    }
    return found;
  };
  EXPECT_EQ(count("may have been sent, no answer yet\n"), 8u) << out;
  EXPECT_EQ(count("waits for a running host to send it\n"), 1u) << out;
}

/// Neither the limit of --for nor a cancellation waits for name resolution.
TEST(DownloadsCommand, AResolverThatHangsBlocksNothing) {
  const Phone phone;
  ASSERT_EQ(phone.glancery({"app", "sign-in", "u-1"}).status, 0);
  ::setenv("LD_PRELOAD", GLANCERY_HANGING_RESOLVER, 1);
  // A sanitizer's library must otherwise be the first one.
  ::setenv("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0", 1);
  const ProgramEnd ran = phone.glancery({"timeline",
                                         "AffirmationWidget",
                                         "--settle",
                                         "--for",
                                         "1",
                                         "--info",
                                         "ApiBaseUrl=http://name.invalid",
                                         "--info",
                                         "ApiKey=k"});
  ::unsetenv("LD_PRELOAD");
  ::unsetenv("ASAN_OPTIONS");
  EXPECT_EQ(ran.status, 1) << ran.err;
  EXPECT_THAT(ran.err, HasSubstr("a download is still waiting"));
  EXPECT_EQ(phone.glancery({"downloads", "cancel", "1"}).status, 0);
}

}  // namespace
}  // namespace host
