#include "host/transfer/transfer_store.h"

#include <absl/strings/str_join.h>
#include <absl/strings/str_split.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <system_error>

#include "platform/foundation/network/url_error.h"
#include "platform/support/files.h"

namespace host {

namespace {

namespace fs = std::filesystem;
using Value = platform::SqliteDatabase::Value;
using Row = platform::SqliteDatabase::Row;

constexpr const char* kDatabase = "transfers.db";
constexpr const char* kHosts = "hosts";
constexpr const char* kSchema = R"sql(CREATE TABLE tasks(
  id INTEGER PRIMARY KEY AUTOINCREMENT, host INTEGER NOT NULL, created REAL NOT NULL,
  session BLOB NOT NULL, url BLOB NOT NULL, method BLOB NOT NULL, headers BLOB NOT NULL,
  body BLOB NOT NULL, timeout REAL NOT NULL,
  attempts INTEGER NOT NULL DEFAULT 0, next REAL NOT NULL DEFAULT 0,
  sends INTEGER NOT NULL DEFAULT 0, ended INTEGER NOT NULL DEFAULT 0,
  error INTEGER, reason BLOB, status INTEGER, size INTEGER NOT NULL DEFAULT 0,
  undelivered BLOB NOT NULL DEFAULT x''))sql";
constexpr const char* kAllTasks = "SELECT * FROM tasks ORDER BY ended, id";

fs::path transfersFolder(const fs::path& container) {
  return container / "Library" / "Transfers";
}

/// Neither names nor values hold line breaks.
std::string joined(const HeaderFields& headers) {
  return absl::StrJoin(headers, "\n", absl::PairFormatter(":"));
}

HeaderFields split(const std::string& lines) {
  HeaderFields headers;
  for (const absl::string_view line : absl::StrSplit(lines, '\n', absl::SkipEmpty())) {
    headers.push_back(absl::StrSplit(line, absl::MaxSplits(':', 1)));
  }
  return headers;
}

/// 0 or empty if the value has another type, which only another program could have written.
template <class T>
T at(const Row& row, std::size_t column) {
  const T* value = std::get_if<T>(&row.at(column));
  return value ? *value : T();
}

/// The columns are in the schema's order.
TransferTask taskOf(const Row& row, const TransferHosts& hosts) {
  const auto integer = [&](std::size_t column) { return at<std::int64_t>(row, column); };
  const auto bytes = [&](std::size_t column) { return at<std::string>(row, column); };
  TransferTask task = {
      .id = integer(0),
      .request = {bytes(3), bytes(4), bytes(5), split(bytes(6)), bytes(7), at<double>(row, 8)},
      .created = at<double>(row, 2),
      .attempts = static_cast<int>(integer(9)),
      .next = at<double>(row, 10),
      .sends = static_cast<int>(integer(11)),
      .ended = integer(12),
      .outcome = {.size = static_cast<std::uint64_t>(integer(16))},
      .undelivered = bytes(17),
      .hosted = hosts.isAlive(integer(1))};
  if (integer(13) != 0) {
    task.outcome.error = platform::NSError{platform::NSURLErrorDomain, integer(13), bytes(14)};
  }
  if (integer(15) != 0) {
    task.outcome.status = static_cast<int>(integer(15));
  }
  return task;
}

std::vector<fs::path> filesIn(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

}  // namespace

TransferListing listTransfers(const fs::path& container) {
  const fs::path folder = transfersFolder(container);
  TransferListing listing;
  for (const fs::path& file : filesIn(folder)) {
    if (file.stem() == kDatabase && !file.string().ends_with("-wal")) {
      listing.damaged.push_back(file.string() + " was damaged and set aside");
    }
  }
  std::error_code ignored;
  if (fs::exists(folder / kDatabase, ignored)) {
    try {
      const TransferHosts hosts(folder / kHosts);
      platform::SqliteDatabase database(folder / kDatabase);
      for (const Row& row : database.isEmpty() ? std::vector<Row>() : database.run(kAllTasks)) {
        listing.tasks.push_back(taskOf(row, hosts));
      }
    } catch (const platform::SqliteError& failure) {
      listing.damaged.emplace_back(failure.what());
    }
  }
  return listing;
}

TransferStore::TransferStore(const fs::path& container)
    : folder_(transfersFolder(container)), hosts_(folder_ / kHosts) {
}

fs::path TransferStore::bodyOf(std::int64_t id) const {
  return folder_ / (std::to_string(id) + ".body");
}

fs::path TransferStore::linkOf(std::int64_t id) const {
  return folder_ / (std::to_string(id) + ".tmp");
}

TransferStore::Result<std::int64_t> TransferStore::add(const TransferRequest& request, double now) {
  return attempt([&] {
    open(true);
    const Rows rows = run(Survives::powerCut,
                          "INSERT INTO tasks(host, created, session, url, method, headers, body,"
                          " timeout) VALUES(?, ?, ?, ?, ?, ?, ?, ?) RETURNING id",
                          {hosts_.id(),
                           now,
                           request.session,
                           request.url,
                           request.method,
                           joined(request.headers),
                           request.body,
                           request.timeout});
    return at<std::int64_t>(rows.at(0), 0);
  });
}

TransferStore::Result<std::vector<TransferTask>> TransferStore::claim() {
  return attempt([&] {
    makeFolders();
    hosts_.join();
    hosts_.watch();
    // Files are listed before tasks: a file that is made later may belong to a later task.
    const auto files = filesIn(folder_);
    std::set<fs::path> wanted;
    std::vector<TransferTask> own;
    for (const Row& row : open(false) ? run(Survives::kill, kAllTasks) : Rows()) {
      TransferTask task = taskOf(row, hosts_);
      if (task.state() != TransferState::failed) {
        wanted.insert({bodyOf(task.id), linkOf(task.id)});
      }
      const bool isOwn = at<std::int64_t>(row, 1) == hosts_.id();
      if (!isOwn && task.hosted) {
        continue;
      }
      std::error_code none;
      const bool incomplete = task.state() == TransferState::done &&
                              (fs::file_size(bodyOf(task.id), none) != task.outcome.size || none);
      task.hosted = true;
      task.ended = incomplete ? 0 : task.ended;
      // Another host may have taken the task over since it was read.
      if ((isOwn && !incomplete) ||
          !run(Survives::kill,
               "UPDATE tasks SET host = ?, ended = ? WHERE id = ? AND host = ? RETURNING id",
               {hosts_.id(), task.ended, task.id, row.at(1)})
               .empty()) {
        own.push_back(task);
      }
    }
    for (const fs::path& file : files) {
      if ((file.extension() == ".body" || file.extension() == ".tmp") && !wanted.contains(file)) {
        ::unlink(file.c_str());
      }
    }
    return own;
  });
}

TransferStore::Result<bool> TransferStore::keep(const TransferTask& task) {
  const auto& error = task.outcome.error;
  return attempt([&] {
    return !run(Survives::kill,
                "UPDATE tasks SET attempts = ?, next = ?, sends = ?, error = ?, reason = ?,"
                " undelivered = ? WHERE id = ? AND ended = ? AND host = ? RETURNING id",
                {std::int64_t{task.attempts},
                 task.next,
                 std::int64_t{task.sends},
                 error ? Value(error->code) : Value(),
                 error ? Value(error->localizedDescription) : Value(),
                 task.undelivered,
                 task.id,
                 task.ended,
                 hosts_.id()})
                .empty();
  });
}

TransferStore::Result<bool> TransferStore::end(TransferTask& task) {
  const TransferOutcome& outcome = task.outcome;
  return attempt([&] {
    // The body is not synced: after a power cut the outcome alone would be of no use.
    const Rows rows = run(outcome.error ? Survives::powerCut : Survives::kill,
                          "UPDATE tasks SET ended ="
                          " 1 + (SELECT coalesce(max(ended), 0) FROM tasks WHERE ended > 0),"
                          " error = ?, reason = ?, status = ?, size = ?"
                          " WHERE id = ? AND ended = 0 RETURNING ended",
                          {outcome.error ? Value(outcome.error->code) : Value(),
                           outcome.error ? Value(outcome.error->localizedDescription) : Value(),
                           outcome.status ? Value(std::int64_t{*outcome.status}) : Value(),
                           static_cast<std::int64_t>(outcome.size),
                           task.id});
    task.ended = rows.empty() ? 0 : at<std::int64_t>(rows[0], 0);
    return !rows.empty();
  });
}

TransferStore::Result<bool> TransferStore::remove(std::int64_t id) {
  return attempt([&] {
    return !run(Survives::powerCut, "DELETE FROM tasks WHERE id = ? RETURNING id", {id}).empty();
  });
}

template <class Work>
auto TransferStore::attempt(Work work) -> Result<decltype(work())> {
  try {
    return work();
  } catch (const std::runtime_error& failure) {
    return std::unexpected(failure.what());
  }
}

TransferStore::Rows TransferStore::run(Survives commit, const char* sql, Values parameters) {
  if (!open(false)) {
    return {};
  }
  try {
    database_->syncCommits(commit == Survives::powerCut);
    return database_->run(sql, parameters);
  } catch (const platform::SqliteError& failure) {
    if (failure.damaged) {
      const platform::FileDescriptor lock = hosts_.lockDatabase();
      setAside(failure.what());
    }
    throw;
  }
}

/// False if there is no database and `create` is false.
bool TransferStore::open(bool create) {
  if (hasMoved()) {
    database_.reset();
    report((folder_ / kDatabase).string() + " was removed, with the downloads in it");
  }
  std::error_code ignored;
  if (database_ || (!create && !fs::exists(folder_ / kDatabase, ignored))) {
    return database_.has_value();
  }
  makeFolders();
  hosts_.join();
  const platform::FileDescriptor lock = hosts_.lockDatabase();
  // Requests contain keys, so only the owner may read the database. SQLite gives its other files
  // the same mode.
  ::mknod((folder_ / kDatabase).c_str(), S_IFREG | 0600, 0);
  try {
    database_.emplace(folder_ / kDatabase, kSchema);
  } catch (const platform::SqliteError& failure) {
    if (!failure.damaged) {
      throw;
    }
    setAside(failure.what());
    database_.emplace(folder_ / kDatabase, kSchema);
  }
  return true;
}

/// Makes the folders, synced to the disk.
void TransferStore::makeFolders() {
  for (const fs::path& folder : {folder_.parent_path(), folder_}) {
    std::error_code error;
    if (::mkdir(folder.c_str(), 0700) == 0) {
      error = platform::syncFile(folder.parent_path());
    } else if (errno != EEXIST) {
      error = {errno, std::generic_category()};
    }
    if (error) {
      throw std::system_error(error, "can't create " + folder.string());
    }
  }
}

/// Renames the database and its log together, so that SQLite's tools can open them.
void TransferStore::setAside(const std::string& why) {
  const bool alreadyDone = hasMoved();
  database_.reset();
  if (alreadyDone) {
    return;
  }
  const std::string file = folder_ / kDatabase;
  const auto aside = platform::setAside(file);
  if (!aside) {
    throw std::system_error(aside.error(), "can't set aside " + file);
  }
  ::rename((file + "-wal").c_str(), (aside->string() + "-wal").c_str());
  ::unlink((file + "-shm").c_str());
  report(why + "; it was set aside as " + aside->filename().string());
}

}  // namespace host
