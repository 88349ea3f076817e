#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/transfer/transfer_error.h"
#include "host/transfer/transfer_folder.h"
#include "host/transfer/transfer_store.h"
#include "tests/host/child.h"
#include "tests/host/command_line.h"
#include "tests/host/transfer/scripted_server.h"

namespace host {
namespace {

using namespace world;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

constexpr double kCreated = 1'700'000'000;

/// What hosts that are gone have left: one task of each state.
struct Left {
  Left() {
    std::filesystem::create_directories(transfersFolder(phone.container()) / "2");
    TransferStore store(phone.container());
    const TransferRequest request = {.session = "s", .url = "http://x/\xFF", .method = "POST"};
    tasks = store.add(std::vector(3, request), kCreated).value();
    tasks[0].wait = {2, kCreated + 60, urlError(URLErrorCode::cannotConnectToHost)};
    EXPECT_TRUE(store.keepWait(tasks[0]));
    tasks[1].outcome = {.order = 2, .answer = TransferAnswer{503, "http://x/", {}, 5}};
    writeWhole(store.bodyOf(tasks[1].id), "hello");
    tasks[2].outcome = {.order = 1, .error = urlError(URLErrorCode::timedOut)};
    const TransferTask* const ended[] = {&tasks[1], &tasks[2]};
    EXPECT_TRUE(store.keepOutcomes(ended));
    writeWhole(transfersFolder(phone.container()) / "2" / "journal", "damaged");
  }
  Json list() const { return Json::parse(phone.glancery({"downloads", "--json"}).out); }
  Phone phone;
  std::vector<TransferTask> tasks;
};

TEST(DownloadsCommand, ListsWhatIsPendingDoneAndFailedAndWhy) {
  const Left left;
  const Json list = left.list();
  ASSERT_EQ(list["downloads"].size(), 3u);
  EXPECT_EQ(list["downloads"][0], Json::parse(R"({
    "id": ")" + left.tasks[0].id + R"(", "session": "s", "method": "POST", "url": "http://x/�",
    "state": "pending", "created": "2023-11-14T22:13:20.000Z",
    "attempts": 2, "nextAttempt": "2023-11-14T22:14:20.000Z", "status": null, "bytes": null,
    "error": {"domain": "NSURLErrorDomain", "code": -1004,
              "description": "Could not connect to the server."}})"));
  // The ended ones in the order of their ends.
  EXPECT_EQ(list["downloads"][1]["id"], left.tasks[2].id);
  EXPECT_EQ(list["downloads"][1]["state"], "failed");
  EXPECT_EQ(list["downloads"][1]["error"]["code"], -1001);
  EXPECT_EQ(list["downloads"][2]["state"], "done");
  EXPECT_EQ(list["downloads"][2]["status"], 503);
  EXPECT_EQ(list["downloads"][2]["bytes"], 5);
  EXPECT_EQ(list["downloads"][2]["nextAttempt"], nullptr);
  ASSERT_EQ(list["damaged"].size(), 1u);
  EXPECT_THAT(list["damaged"][0]["file"].get<std::string>(), HasSubstr("2/journal"));

  const Ran ran = left.phone.glancery({"downloads"});
  EXPECT_THAT(ran.out, StartsWith(left.tasks[0].id + "  pending  s\n  POST http://x/"));
  EXPECT_THAT(ran.out,
              HasSubstr("2 attempts in vain, the last one: Could not connect to the "
                        "server. (-1004) Next at 2023-11-14T22:14:20.000Z\n"));
  EXPECT_THAT(ran.out, HasSubstr("  The request timed out. (-1001)\n"));
  EXPECT_THAT(ran.out, HasSubstr("  status 503, 5 bytes, not delivered yet\n"));
  EXPECT_THAT(ran.out, HasSubstr("damaged: "));
  EXPECT_EQ(Phone().glancery({"downloads"}).out, "no downloads\n");
}

TEST(DownloadsCommand, CancelsWhatNobodyRuns) {
  const Left left;
  EXPECT_EQ(left.phone.glancery({"downloads", "cancel", left.tasks[0].id}).status, 0);
  EXPECT_EQ(left.list()["downloads"].back()["error"]["code"], -999);

  const Ran again = left.phone.glancery({"downloads", "cancel", left.tasks[0].id});
  EXPECT_EQ(again.status, 1);
  EXPECT_THAT(again.err, HasSubstr(left.tasks[0].id + "\" has ended (cancelled (-999))"));
  for (const char* unknown : {"1-unknown", "../../etc", ""}) {
    const Ran ran = left.phone.glancery({"downloads", "cancel", unknown});
    EXPECT_EQ(ran.status, 1);
    EXPECT_THAT(ran.err, HasSubstr("no download \"" + std::string(unknown) + '"'));
  }
}

TEST(DownloadsCommand, CancelsWhatAnotherHostIsRunning) {
  ScriptedServer server(std::vector{Reply{"", Reply::After::hang}});
  Folder container;
  Child worker({GLANCERY_TRANSFER_WORKER, container.path(), server.url(), "1"});
  const std::string id = worker.line().substr(std::string("added ").size());
  server.awaitRequests(1);
  const Ran ran = run(GLANCERY_BUILD "/glancery",
                      {"downloads", "cancel", id, "--container", container.path().string()});
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.status, 0);
  EXPECT_EQ(worker.line(), "finished " + id);
}

}  // namespace
}  // namespace host
