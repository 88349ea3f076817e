#include "host/transfer/transfer_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/transfer/transfer_error.h"
#include "host/transfer/transfer_listing.h"
#include "host/transfer/transfer_record.h"
#include "tests/world.h"

namespace host {
namespace {

using namespace world;
namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const TransferRequest kRequest = {.session = "affirmations",
                                  .url = "http://127.0.0.1:1/",
                                  .method = "POST",
                                  .headers = {{"X-API-KEY", ""}, {"X-Bytes", "\xFF\xFE"}},
                                  .body = std::string("{\0\xFF}", 4),
                                  .timeout = 12.5};

/// A container with one ended download, whose host is gone.
struct Left {
  Left() {
    TransferStore store(folder.path());
    const auto tasks = store.add(std::span(&kRequest, 1), 1'700'000'000.25);
    EXPECT_TRUE(tasks) << tasks.error();
    task = tasks->front();
    task.wait = {3, 1'700'000'004, urlError(URLErrorCode::networkConnectionLost)};
    EXPECT_TRUE(store.keepWait(task));
    task.outcome = {.order = 7,
                    .answer = TransferAnswer{200, "http://127.0.0.1:1/x", {{"A", "\xE9"}}, 5}};
    EXPECT_TRUE(store.keepOutcome(task));
    writeWhole(store.bodyOf(task.id), "hello");
  }
  fs::path part(TransferPart which) const {
    return partOf(transfersFolder(folder.path()), task.id, which);
  }
  Folder folder;
  TransferTask task;
};

TEST(TransferStore, EverythingOfATaskComesBack) {
  Left left;
  TransferStore next(left.folder.path());
  const auto tasks = next.adopt();
  ASSERT_EQ(tasks.size(), 1u);
  EXPECT_EQ(tasks[0].id, left.task.id);
  EXPECT_EQ(tasks[0].request, kRequest);
  EXPECT_EQ(tasks[0].created, 1'700'000'000.25);
  EXPECT_EQ(tasks[0].outcome->answer, left.task.outcome->answer);
  EXPECT_FALSE(tasks[0].outcome->error);
  fs::remove(left.part(TransferPart::outcome));
  const TransferTask waiting = listTransfers(left.folder.path()).tasks.at(0);
  EXPECT_EQ(waiting.wait.attempts, 3);
  EXPECT_EQ(waiting.wait.next, 1'700'000'004);
  EXPECT_EQ(waiting.wait.error.localizedDescription, "The network connection was lost.");
}

TEST(TransferStore, EveryCutAndEveryChangedByteOfARecordIsFound) {
  Left left;
  const auto sweep = [&](TransferPart part, auto decode) {
    const std::string whole = readWhole(left.part(part));
    EXPECT_TRUE(decode(whole));
    EXPECT_FALSE(decode(whole + "x"));
    for (std::size_t at = 0; at < whole.size(); ++at) {
      std::string changed = whole;
      changed[at] ^= 0x01;
      EXPECT_FALSE(decode(changed)) << at;
      EXPECT_FALSE(decode(whole.substr(0, at))) << at;
    }
  };
  sweep(TransferPart::task, decodeTask);
  sweep(TransferPart::wait, decodeWait);
  sweep(TransferPart::outcome, decodeOutcome);
}

TEST(TransferStore, DamagedRecordsAreSetAsideAndSaid) {
  using enum TransferPart;
  const struct {
    TransferPart part;
    const char* ending;
    std::size_t tasksLeft;
    std::size_t filesAside;
  } kRows[] = {{task, ".task", 0, 4}, {outcome, ".outcome", 1, 1}, {wait, ".wait", 1, 1}};
  for (const auto& row : kRows) {
    Left left;
    if (row.part == wait) {
      fs::remove(left.part(outcome));
    }
    writeWhole(left.part(row.part), "damaged");
    const auto listing = listTransfers(left.folder.path());
    ASSERT_EQ(listing.damaged.size(), 1u);
    EXPECT_EQ(listing.damaged[0].file, left.part(row.part));
    EXPECT_EQ(readWhole(left.part(row.part)), "damaged") << "a reader changes nothing";

    TransferStore store(left.folder.path());
    const auto tasks = store.adopt();
    EXPECT_EQ(tasks.size(), row.tasksLeft);
    for (const TransferTask& found : tasks) {
      EXPECT_EQ(found.state(), TransferState::pending);
    }
    EXPECT_THAT(store.takeReports(),
                ElementsAre(HasSubstr(row.ending + std::string(".damaged: "))));
    EXPECT_EQ(readWhole(left.part(row.part) += ".damaged"), "damaged");
    EXPECT_EQ(readWhole(row.part == task ? left.part(body) += ".damaged" : left.part(body)),
              "hello");
    EXPECT_EQ(listTransfers(left.folder.path()).damaged.size(), row.filesAside)
        << "what was set aside stays in the list";
  }
}

TEST(TransferStore, AHostThatIsGoneLeavesNoRefuse) {
  Left left;
  const fs::path folder = left.part(TransferPart::task).parent_path();
  for (const char* name :
       {"1-dead.body", "1-dead.outcome", "1-dead.wait", "1-dead.task.new", "core"}) {
    writeWhole(folder / name, "left");
  }
  const auto before = listTransfers(left.folder.path());
  EXPECT_EQ(before.tasks.size(), 1u);
  EXPECT_THAT(before.damaged, IsEmpty());
  EXPECT_TRUE(fs::exists(folder / "1-dead.body")) << "a reader changes nothing";
  TransferStore store(left.folder.path());
  EXPECT_EQ(store.adopt().size(), 1u);
  EXPECT_TRUE(store.remove(left.task.id));
  EXPECT_TRUE(fs::is_empty(folder));
}

TEST(TransferStore, AfterAPowerCutABodyThatIsShortIsDownloadedAgain) {
  Left left;
  writeWhole(left.part(TransferPart::body), "hel");
  TransferStore store(left.folder.path());
  const auto tasks = store.adopt();
  ASSERT_EQ(tasks.size(), 1u);
  EXPECT_EQ(tasks[0].state(), TransferState::pending);
}

TEST(TransferStore, ABodyThatItsReceiverHasTakenIsNotDeliveredAgain) {
  Left left;
  fs::remove(left.part(TransferPart::body));
  EXPECT_THAT(TransferStore(left.folder.path()).adopt(), IsEmpty());
  EXPECT_THAT(TransferStore(left.folder.path()).adopt(), IsEmpty());
  EXPECT_FALSE(fs::exists(left.part(TransferPart::task)));
}

TEST(TransferStore, HostsSideBySideKeepTheirTasksUntilTheyAreGone) {
  Folder folder;
  auto first = std::make_unique<TransferStore>(folder.path());
  TransferStore second(folder.path());
  const auto mine = first->add(std::span(&kRequest, 1), 1);
  const auto other = second.add(std::span(&kRequest, 1), 2);
  ASSERT_TRUE(mine && other);
  EXPECT_NE(mine->front().id, other->front().id);
  EXPECT_THAT(first->adopt(), IsEmpty());
  EXPECT_THAT(second.adopt(), IsEmpty());
  EXPECT_EQ(listTransfers(folder.path()).tasks.size(), 2u);
  first.reset();
  const auto adopted = second.adopt();
  ASSERT_EQ(adopted.size(), 1u);
  EXPECT_EQ(adopted[0].id, mine->front().id);
  EXPECT_THAT(second.adopt(), IsEmpty());
}

TEST(TransferStore, ATaskFoundInTheFolderThatAnAdditionTookIsAdoptedToo) {
  Left left;
  TransferStore store(left.folder.path());
  ASSERT_TRUE(store.add(std::span(&kRequest, 1), 2));
  const auto tasks = store.adopt();
  ASSERT_EQ(tasks.size(), 1u);
  EXPECT_EQ(tasks[0].id, left.task.id);
}

TEST(TransferStore, ManyTasksAtOnceAreAllOrNone) {
  Folder folder;
  const std::vector<TransferRequest> requests(100, kRequest);
  {
    TransferStore store(folder.path());
    const auto tasks = store.add(requests, 1);
    ASSERT_TRUE(tasks) << tasks.error();
    EXPECT_EQ(tasks->size(), 100u);
  }
  EXPECT_EQ(TransferStore(folder.path()).adopt().size(), 100u);

  writeWhole(folder.path() / "file", "");
  TransferStore nowhere(folder.path() / "file");
  const auto refused = nowhere.add(requests, 1);
  ASSERT_FALSE(refused);
  EXPECT_THAT(refused.error(), HasSubstr((folder.path() / "file").string()));
}

}  // namespace
}  // namespace host
