#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/transfer/transfer_hosts.h"
#include "host/transfer/transfer_task.h"
#include "platform/support/sqlite_database.h"

namespace host {

/// All downloads of a container.
struct TransferListing {
  /// Pending tasks in the order in which they were added, then the others in the order of their
  /// end.
  std::vector<TransferTask> tasks = {};
  /// What is wrong with the database, and which copies were set aside; a sentence each.
  std::vector<std::string> damaged = {};
};

/// Reads and changes nothing; other processes may be at work meanwhile.
TransferListing listTransfers(const std::filesystem::path& container);

/// The tasks of a container, as one host sees and changes them: in `<container>/Library/Transfers`,
/// an SQLite database and a file for each body.
///
/// A kill at any instant leaves every task with all that was acknowledged before. `add`, `end` and
/// `remove` survive a power cut; the rest only the end of the process. Each task belongs to one
/// live host. A damaged database is set aside under another name, and an empty one replaces it, as
/// it does one that was removed. Errors are sentences that name the file.
///
/// Opens nothing before there is something to transfer. Used by one thread.
class TransferStore {
 public:
  template <class T>
  using Result = std::expected<T, std::string>;

  explicit TransferStore(const std::filesystem::path& container);

  Result<std::int64_t> add(const TransferRequest& request, double now);
  /// Takes over the tasks of hosts that have ended, removes files that belong to no task, and
  /// returns all tasks of this host; `hosts` says from then on when to call it again. An ended task
  /// whose body is incomplete is pending again.
  Result<std::vector<TransferTask>> claim();

  // These return false if another process has ended, taken over or removed the task.
  /// Keeps what became of a task of this host: `attempts`, `next`, `sends`, the outcome's error and
  /// `undelivered`.
  Result<bool> keep(const TransferTask& task);
  /// Ends a pending task of any host with its `outcome`; sets `ended`.
  Result<bool> end(TransferTask& task);
  Result<bool> remove(std::int64_t id);

  std::filesystem::path bodyOf(std::int64_t id) const;
  /// Another name of the body, which the extension that reads it may remove.
  std::filesystem::path linkOf(std::int64_t id) const;

  TransferHosts& hosts() { return hosts_; }
  /// Whether the database was removed or renamed since it was last used.
  bool hasMoved() const { return database_ && database_->hasMoved(); }
  /// What went wrong outside the calls, a sentence each; every one is returned once.
  std::vector<std::string> takeReports() { return std::exchange(reports_, {}); }

 private:
  using Rows = std::vector<platform::SqliteDatabase::Row>;
  using Values = std::initializer_list<platform::SqliteDatabase::Value>;
  enum class Survives { kill, powerCut };

  bool open(bool create);
  void makeFolders();
  void setAside(const std::string& why);
  Rows run(Survives commit, const char* sql, Values parameters = {});
  template <class Work>
  auto attempt(Work work) -> Result<decltype(work())>;
  void removeStrayFiles(const std::vector<std::filesystem::path>& files,
                        const std::vector<TransferTask>& tasks) const;

  std::filesystem::path folder_;
  TransferHosts hosts_;
  std::optional<platform::SqliteDatabase> database_;
  std::vector<std::string> reports_;
};

}  // namespace host
