#include "host/transfer/transfer_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "host/transfer/transfer_error.h"
#include "host/transfer/transfer_folder.h"
#include "host/transfer/transfer_listing.h"
#include "host/transfer/transfer_record.h"
#include "platform/foundation/cbor.h"
#include "tests/host/transfer/sealed_record.h"
#include "tests/world.h"

namespace host {
namespace {

using namespace world;
namespace fs = std::filesystem;
using platform::Data;
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
    TransferStore store(container.path());
    const auto tasks = store.add(std::span(&kRequest, 1), 1'700'000'000.25);
    EXPECT_TRUE(tasks) << tasks.error();
    task = tasks->front();
    task.wait = {3, 1'700'000'004, urlError(URLErrorCode::networkConnectionLost)};
    EXPECT_TRUE(store.keepWait(task));
    task.outcome = {.order = 7,
                    .answer = TransferAnswer{200, "http://127.0.0.1:1/x", {{"A", "\xE9"}}, 5}};
    const TransferTask* const ended[] = {&task};
    EXPECT_TRUE(store.keepOutcomes(ended));
    writeWhole(store.bodyOf(task.id), "hello");
  }
  fs::path journal() const { return journalOf(folder()); }
  fs::path body() const { return bodyOf(transfersFolder(container.path()), task.id); }
  fs::path folder() const { return folderOf(transfersFolder(container.path()), task.id); }
  std::vector<TransferTask> listed() const { return listTransfers(container.path()).tasks; }

  Folder container;
  TransferTask task;
};

TEST(TransferStore, EverythingOfATaskComesBack) {
  Left left;
  const TransferTask listed = left.listed().at(0);
  EXPECT_EQ(listed.wait.attempts, 3);
  EXPECT_EQ(listed.wait.next, 1'700'000'004);
  EXPECT_EQ(listed.wait.error.localizedDescription, "The network connection was lost.");
  TransferStore next(left.container.path());
  const auto tasks = next.adopt();
  ASSERT_EQ(tasks.size(), 1u);
  EXPECT_EQ(tasks[0].id, left.task.id);
  EXPECT_EQ(tasks[0].request, kRequest);
  EXPECT_EQ(tasks[0].created, 1'700'000'000.25);
  EXPECT_EQ(tasks[0].outcome->answer, left.task.outcome->answer);
  EXPECT_FALSE(tasks[0].outcome->error);
}

/// Three tasks, the second with an outcome, and where each record ends.
struct Records {
  Records() {
    for (const char* id : {"1-a", "1-b", "1-c"}) {
      add(taskRecord({.id = id, .request = kRequest}));
    }
    TransferTask ended = {.id = "1-b"};
    ended.outcome = {.order = 1, .error = urlError(URLErrorCode::cancelled)};
    add(outcomeRecord(ended));
    add(removalRecord("1-a"));
  }
  void add(const std::string& record) {
    bytes += record;
    ends.push_back(bytes.size());
  }
  std::string bytes;
  std::vector<std::size_t> ends;
};

TEST(TransferJournal, ACutLeavesEveryRecordBeforeItAndIsNoDamage) {
  const Records records;
  for (std::size_t length = 0; length <= records.bytes.size(); ++length) {
    const Journal journal = readJournal(std::string_view(records.bytes).substr(0, length));
    const auto whole = std::ranges::count_if(records.ends, [&](auto end) { return end <= length; });
    EXPECT_THAT(journal.damage, IsEmpty()) << length;
    EXPECT_EQ(journal.length, whole == 0 ? 0 : records.ends[whole - 1]);
    EXPECT_EQ(journal.tasks.size(), whole == 5 ? 2u : std::min<std::size_t>(whole, 3));
  }
}

TEST(TransferJournal, EveryChangedByteIsFoundAndCostsOneRecordOnly) {
  const Records records;
  for (std::size_t at = 0; at < records.bytes.size(); ++at) {
    std::string changed = records.bytes;
    changed[at] ^= 0x01;
    const Journal journal = readJournal(changed);
    EXPECT_EQ(journal.damage.size(), 1u) << at;
    EXPECT_EQ(journal.length, changed.size());
    const auto record = std::ranges::upper_bound(records.ends, at) - records.ends.begin();
    const std::size_t left[] = {2, 1, 1, 2, 3};
    EXPECT_EQ(journal.tasks.size(), left[record]) << at;
  }
}

TEST(TransferJournal, NumbersThatNoTransferHasAreNamedAndCostTheirRecordOnly) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  const TransferTask good = {.id = "1-a", .request = kRequest};
  const auto task = [&](double created, double timeout) {
    TransferTask odd = good;
    odd.created = created;
    odd.request.timeout = timeout;
    return taskRecord(odd);
  };
  const auto wait = [&](int attempts, double next) {
    TransferTask odd = good;
    odd.wait = {attempts, next, urlError(URLErrorCode::timedOut)};
    return taskRecord(good) + waitRecord(odd);
  };
  const auto outcome = [&](std::int64_t order, int status, std::uint64_t size) {
    TransferTask odd = good;
    odd.outcome = {.order = order, .answer = TransferAnswer{status, "http://x/", {}, size}};
    return taskRecord(good) + outcomeRecord(odd);
  };
  const auto sealed = [](const platform::Dictionary& members) {
    return sealedRecord(*platform::encodeCBOR(members));
  };
  const struct {
    std::string journal;
    const char* says;
    std::size_t tasks;
  } kRows[] = {
      {task(0, 5e-324), "", 1},
      {task(-1, 60), "the member \"created\" can't be -1", 0},
      {task(kNone, 60), "the member \"created\" can't be nan", 0},
      {task(0, 0), "the member \"timeout\" can't be 0", 0},
      {task(0, kInfinity), "the member \"timeout\" can't be inf", 0},
      {wait(1, 0), "", 1},
      {wait(0, 5), "the member \"attempts\" can't be 0", 1},
      {wait(-3, 5), "the member \"attempts\" can't be -3", 1},
      {wait(2'000'000'000, 5), "the member \"attempts\" can't be 2000000000", 1},
      {wait(1, -0.5), "the member \"next\" can't be -0.5", 1},
      {wait(1, kInfinity), "the member \"next\" can't be inf", 1},
      {outcome(1, 100, 0), "", 1},
      {outcome(0, 200, 5), "the member \"order\" can't be 0", 1},
      {outcome(std::numeric_limits<std::int64_t>::max(), 200, 5), "the member \"order\" can't", 1},
      {outcome(1, 99, 5), "the member \"status\" can't be 99", 1},
      {outcome(1, 1000, 5), "the member \"status\" can't be 1000", 1},
      {outcome(1, 200, ~std::uint64_t{0}), "the member \"size\" can't be -1", 1},
      // An int would make 200 of it.
      {taskRecord(good) + sealed({{"kind", Data{"outcome"}},
                                  {"id", Data{"1-a"}},
                                  {"order", 1},
                                  {"status", std::int64_t{4'294'967'496}}}),
       "the member \"status\" can't be 4294967496",
       1},
  };
  for (const auto& row : kRows) {
    const Journal journal = readJournal(row.journal);
    ASSERT_EQ(journal.tasks.size(), row.tasks) << row.says;
    ASSERT_EQ(journal.damage.size(), row.says[0] ? 1u : 0u) << row.says;
    if (row.says[0]) {
      EXPECT_THAT(journal.damage[0], HasSubstr(row.says));
      EXPECT_TRUE(row.tasks == 0 || journal.tasks[0].state() == TransferState::pending);
      EXPECT_TRUE(row.tasks == 0 || journal.tasks[0].wait.attempts == 0);
    }
  }
}

TEST(TransferStore, ADamagedJournalIsSetAsideAndTheRestGoesOn) {
  Left left;
  const std::string whole = readWhole(left.journal());
  writeWhole(left.journal(), "nonsense" + whole);
  const auto listing = listTransfers(left.container.path());
  ASSERT_EQ(listing.damaged.size(), 1u);
  EXPECT_EQ(listing.damaged[0].file, left.journal());
  EXPECT_EQ(listing.tasks.size(), 1u);
  EXPECT_EQ(readWhole(left.journal()), "nonsense" + whole) << "a reader changes nothing";
  for (const char* name : {"journal.damaged", "journal.damaged-2"}) {
    writeWhole(left.journal(), "nonsense" + whole);
    TransferStore store(left.container.path());
    EXPECT_EQ(store.adopt().size(), 1u);
    EXPECT_THAT(store.takeReports(), ElementsAre(HasSubstr(name)));
    EXPECT_EQ(readWhole(left.folder() / name), "nonsense" + whole);
  }
  EXPECT_THAT(TransferStore(left.container.path()).takeReports(), IsEmpty());
  EXPECT_EQ(listTransfers(left.container.path()).damaged.size(), 2u) << "the copies stay listed";
}

TEST(TransferStore, AJournalThatCantBeReadIsLeftAloneAndSaidOnce) {
  Left left;
  fs::remove(left.journal());
  fs::create_directory(left.journal());
  TransferStore store(left.container.path());
  EXPECT_THAT(store.adopt(), IsEmpty());
  EXPECT_THAT(store.adopt(), IsEmpty());
  EXPECT_THAT(store.takeReports(), ElementsAre(HasSubstr(left.journal().string())));
  EXPECT_TRUE(store.add(std::span(&kRequest, 1), 1)) << "there are other folders";
}

TEST(TransferStore, TasksOfOtherFoldersAreDamage) {
  Left left;
  writeWhole(left.journal(),
             taskRecord({.id = "../../1-a", .request = kRequest}) +
                 taskRecord({.id = "2-a", .request = kRequest}));
  TransferStore store(left.container.path());
  EXPECT_THAT(store.adopt(), IsEmpty());
  EXPECT_EQ(store.takeReports().size(), 2u);
}

TEST(TransferStore, AHostThatIsGoneLeavesNoBodies) {
  Left left;
  writeWhole(left.folder() / "1-dead.body", "left");
  EXPECT_EQ(left.listed().size(), 1u);
  EXPECT_TRUE(fs::exists(left.folder() / "1-dead.body")) << "a reader changes nothing";
  TransferStore store(left.container.path());
  EXPECT_EQ(store.adopt().size(), 1u);
  EXPECT_FALSE(fs::exists(left.folder() / "1-dead.body"));
  EXPECT_TRUE(store.remove(left.task.id));
  EXPECT_TRUE(store.removeBody(left.task.id));
  EXPECT_FALSE(fs::exists(left.body()));
  EXPECT_THAT(left.listed(), IsEmpty());
}

TEST(TransferStore, ABodyThatIsShortOrGoneIsDownloadedAgain) {
  for (const char* body : {"hel", ""}) {
    Left left;
    body[0] ? writeWhole(left.body(), body) : void(fs::remove(left.body()));
    TransferStore store(left.container.path());
    const auto tasks = store.adopt();
    ASSERT_EQ(tasks.size(), 1u);
    EXPECT_EQ(tasks[0].state(), TransferState::pending);
  }
}

TEST(TransferStore, TheJournalDoesNotGrowForEver) {
  Folder container;
  TransferStore store(container.path());
  TransferRequest large = kRequest;
  large.body = std::string(50'000, 'x');
  const auto stays = store.add(std::span(&large, 1), 1);
  ASSERT_TRUE(stays);
  std::uintmax_t most = 0;
  for (int count = 0; count < 100; ++count) {
    const auto passes = store.add(std::span(&large, 1), 2);
    ASSERT_TRUE(passes);
    ASSERT_TRUE(store.remove(passes->front().id));
    most = std::max(most, fs::file_size(transfersFolder(container.path()) / "1" / "journal"));
  }
  EXPECT_LT(most, 2'000'000u);
  const auto left = listTransfers(container.path()).tasks;
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(left[0].request, large);
  ASSERT_TRUE(store.remove(left[0].id));
  EXPECT_LT(fs::file_size(transfersFolder(container.path()) / "1" / "journal"), 100'000u);
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
  TransferStore store(left.container.path());
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
