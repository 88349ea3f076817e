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
  /// Pending tasks in the order in which they were added, then ended ones in the order of their
  /// ends.
  std::vector<TransferTask> tasks = {};
  /// Damage to the database, and damaged databases that were set aside; a sentence each.
  std::vector<std::string> damaged = {};
};

/// Reads the downloads and changes nothing. Other processes may change them meanwhile.
TransferListing listTransfers(const std::filesystem::path& container);

/// The tasks of a container, as one host reads and changes them: an SQLite database and a file for
/// each body, in `<container>/Library/Transfers`.
///
/// A change survives the end of the process. `add`, `remove` and an `end` with an error also
/// survive a power cut; after one, a download that was done may be pending again. Each task belongs
/// to one live host. A damaged database is set aside under another name. It is replaced by an empty
/// one, and so is one that was removed. Errors are sentences that name the file.
///
/// Opens nothing before the first task. Used by one thread.
class TransferStore {
 public:
  template <class T>
  using Result = std::expected<T, std::string>;

  explicit TransferStore(const std::filesystem::path& container);

  Result<std::int64_t> add(const TransferRequest& request, double now);
  /// Takes over the tasks of hosts that have ended, removes files of no task, and returns all tasks
  /// of this host. From then on `hosts` notifies when to call it again. A task that is done but
  /// whose body is incomplete becomes pending.
  Result<std::vector<TransferTask>> claim();

  // These return false if another process has ended, taken over or removed the task.
  /// Stores `attempts`, `next`, `sends`, the outcome's error and `undelivered` of a task of this
  /// host.
  Result<bool> keep(const TransferTask& task);
  /// Ends a pending task of any host with its `outcome`; sets `ended`.
  Result<bool> end(TransferTask& task);
  Result<bool> remove(std::int64_t id);

  std::filesystem::path bodyOf(std::int64_t id) const;
  /// The link to the body that an extension reads and removes.
  std::filesystem::path linkOf(std::int64_t id) const;

  TransferHosts& hosts() { return hosts_; }
  /// Whether the database was removed or renamed since it was last used.
  bool hasMoved() const { return database_ && database_->hasMoved(); }
  void report(std::string error) { reports_.push_back(std::move(error)); }
  /// What was reported since the last call.
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

  std::filesystem::path folder_;
  TransferHosts hosts_;
  std::optional<platform::SqliteDatabase> database_;
  std::vector<std::string> reports_;
};

}  // namespace host
