#include "host/transfer/transfer_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/network/url_error.h"
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
                                  .headers = {{"X-API-KEY", ""}, {"X-Bytes", " \xFF:\xFE"}},
                                  .body = std::string("{\0\xFF}", 4),
                                  .timeout = 12.5};
constexpr double kCreated = 1'700'000'000.25;

/// A container with one ended download, whose host has ended.
struct Left {
  Left() {
    TransferStore store(container.path());
    task = {.id = store.add(kRequest, kCreated).value(), .request = kRequest, .created = kCreated};
    task.attempts = 3;
    task.next = kCreated + 4;
    task.sends = 2;
    task.outcome.error = platform::urlError(platform::URLErrorCode::networkConnectionLost);
    EXPECT_EQ(store.keep(task), true);
    task.outcome = {.status = 200, .size = 5};
    EXPECT_EQ(store.end(task), true);
    writeWhole(store.bodyOf(task.id), "hello");
    body = store.bodyOf(task.id);
  }
  fs::path database() const { return body.parent_path() / "transfers.db"; }
  std::vector<TransferTask> claimed() const {
    return TransferStore(container.path()).claim().value();
  }

  Folder container;
  TransferTask task;
  fs::path body;
};

TEST(TransferStore, EverythingOfATaskComesBack) {
  const Left left;
  for (const auto& tasks : {listTransfers(left.container.path()).tasks, left.claimed()}) {
    ASSERT_EQ(tasks.size(), 1u);
    EXPECT_EQ(tasks[0].id, left.task.id);
    EXPECT_EQ(tasks[0].request, kRequest);
    EXPECT_EQ(tasks[0].created, kCreated);
    EXPECT_EQ(tasks[0].attempts, 3);
    EXPECT_EQ(tasks[0].next, kCreated + 4);
    EXPECT_EQ(tasks[0].sends, 2);
    EXPECT_EQ(tasks[0].outcome, left.task.outcome);
    EXPECT_EQ(tasks[0].ended, left.task.ended);
  }
}

TEST(TransferStore, AnEndIsKeptOnce) {
  const Left left;
  TransferStore store(left.container.path());
  TransferTask again = left.task;
  again.outcome.error = platform::urlError(platform::URLErrorCode::cancelled);
  EXPECT_EQ(store.end(again), false);
  EXPECT_FALSE(store.claim().value()[0].outcome.error);
  EXPECT_EQ(store.remove(left.task.id), true);
  EXPECT_EQ(store.remove(left.task.id), false);
}

/// Each row damages the database in another way.
TEST(TransferStore, ADamagedDatabaseIsSetAsideAndReported) {
  const struct {
    std::size_t from;
    std::string bytes;
    const char* why;
  } kRows[] = {{0, "nonsense, and not a database", "file is not a database"},
               {4096, std::string(200, 'x'), "is damaged: Page 2"},
               {60, std::string("\0\0\0\x07", 4), "of another version"}};
  for (const auto& row : kRows) {
    const Left left;
    // The pages must be in the database, not in its log.
    fs::remove(left.database());
    fs::remove(left.database().string() + "-wal");
    fs::remove(left.database().string() + "-shm");
    {
      platform::SqliteDatabase plain(left.database(), "CREATE TABLE tasks(id)");
      plain.run("PRAGMA journal_mode = DELETE");
    }
    std::string bytes = readWhole(left.database());
    bytes.replace(row.from, row.bytes.size(), row.bytes);
    writeWhole(left.database(), bytes);
    EXPECT_THAT(listTransfers(left.container.path()).damaged, ElementsAre(HasSubstr(row.why)));
    EXPECT_EQ(readWhole(left.database()), bytes) << "a reader changes nothing";

    TransferStore store(left.container.path());
    EXPECT_THAT(store.claim().value(), IsEmpty());
    EXPECT_THAT(store.takeReports(), ElementsAre(HasSubstr("set aside as transfers.db.damaged")));
    EXPECT_EQ(readWhole(left.database().string() + ".damaged"), bytes);
    EXPECT_TRUE(store.add(kRequest, kCreated));
    EXPECT_THAT(listTransfers(left.container.path()).damaged, ElementsAre(HasSubstr("set aside")));
  }
}

TEST(TransferStore, ADatabaseWhoseCreatorWasKilledIsNotDamaged) {
  const world::Folder container;
  const auto folder = container.path() / "Library" / "Transfers";
  std::filesystem::create_directories(folder);
  platform::SqliteDatabase(folder / "transfers.db", "CREATE TABLE t(x); DROP TABLE t")
      .run("PRAGMA user_version = 0");
  EXPECT_THAT(listTransfers(container.path()).damaged, IsEmpty());
  TransferStore store(container.path());
  EXPECT_TRUE(store.add(kRequest, kCreated));
  EXPECT_THAT(store.takeReports(), IsEmpty());
}

TEST(TransferStore, FilesOfNoTaskAreRemovedAtTheNextStart) {
  const Left left;
  const fs::path strays[] = {left.body.parent_path() / "77.body",
                             left.body.parent_path() / "77.tmp"};
  for (const fs::path& stray : strays) {
    writeWhole(stray, "left");
  }
  listTransfers(left.container.path());
  EXPECT_TRUE(fs::exists(strays[0])) << "a reader changes nothing";
  EXPECT_EQ(left.claimed().size(), 1u);
  EXPECT_FALSE(fs::exists(strays[0]) || fs::exists(strays[1]));
  EXPECT_TRUE(fs::exists(left.body));
}

TEST(TransferStore, AnIncompleteBodyIsDownloadedAgain) {
  for (const char* body : {"hel", ""}) {
    const Left left;
    body[0] ? writeWhole(left.body, body) : void(fs::remove(left.body));
    const auto tasks = left.claimed();
    ASSERT_EQ(tasks.size(), 1u);
    EXPECT_EQ(tasks[0].state(), TransferState::pending);
  }
}

TEST(TransferStore, EachTaskHasOneHostUntilThatEnds) {
  const Folder folder;
  auto first = std::make_unique<TransferStore>(folder.path());
  TransferStore second(folder.path());
  const auto mine = first->add(kRequest, 1);
  const auto other = second.add(kRequest, 2);
  ASSERT_TRUE(mine && other);
  EXPECT_EQ(first->claim().value().size(), 1u);
  EXPECT_EQ(second.claim().value().size(), 1u);
  EXPECT_TRUE(listTransfers(folder.path()).tasks.at(0).hosted);
  second.hosts().takeChange();
  EXPECT_FALSE(second.hosts().takeChange());
  first.reset();
  EXPECT_TRUE(second.hosts().takeChange());
  EXPECT_FALSE(listTransfers(folder.path()).tasks.at(0).hosted);
  EXPECT_EQ(second.claim().value().size(), 2u);
}

TEST(TransferStore, AnUnusableContainerIsNamed) {
  const Folder folder;
  writeWhole(folder.path() / "file", "");
  TransferStore nowhere(folder.path() / "file");
  const auto refused = nowhere.add(kRequest, 1);
  ASSERT_FALSE(refused);
  EXPECT_THAT(refused.error(), HasSubstr((folder.path() / "file").string()));
  EXPECT_THAT(refused.error(), HasSubstr("Not a directory"));
}

}  // namespace
}  // namespace host
