#include "host/transfer/transfer_store.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <set>
#include <system_error>

#include "host/folder_lock.h"
#include "host/transfer/transfer_folder.h"
#include "platform/foundation/require.h"

namespace host {

namespace {

namespace fs = std::filesystem;
using Done = std::expected<void, std::string>;

/// A journal shorter than this is not worth writing anew.
constexpr std::size_t kShortJournal = 64 << 10;
constexpr const char* kForeign = "the task is of another host";

std::unexpected<std::string> failure(const char* what, const fs::path& path, int error = errno) {
  return std::unexpected("can't " + std::string(what) + " " + path.string() + ": " +
                         std::generic_category().message(error));
}

std::string_view folderNameOf(std::string_view id) {
  return id.substr(0, id.find('-'));
}

std::string newId(const fs::path& folder) {
  constexpr std::string_view kLetters = "0123456789abcdefghijkmnpqrstuvwx";
  unsigned char random[10] = {};
  if (::getrandom(random, sizeof random, 0) != sizeof random) {
    platform::fatalError("no random bytes");
  }
  std::string id = folder.filename().string() + "-";
  for (const unsigned char byte : random) {
    id += kLetters[byte % kLetters.size()];
  }
  return id;
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written < 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

Done sync(const fs::path& folder) {
  const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!descriptor || ::fsync(descriptor.get()) != 0) {
    return failure("synchronize", folder);
  }
  return {};
}

/// Makes a folder that outlives a power cut; one that is there already is fine.
Done makeFolder(const fs::path& folder) {
  if (::mkdir(folder.c_str(), 0700) == 0) {
    return sync(folder.parent_path());
  }
  return errno == EEXIST ? Done() : failure("create", folder);
}

}  // namespace

TransferStore::TransferStore(const fs::path& container) : transfers_(transfersFolder(container)) {
}

std::expected<std::vector<TransferTask>, std::string> TransferStore::add(
    std::span<const TransferRequest> requests, double now) {
  const auto own = ownFolder();
  if (!own) {
    return std::unexpected(own.error());
  }
  Held& held = **own;
  std::vector<TransferTask> tasks;
  std::string records;
  for (const TransferRequest& request : requests) {
    tasks.push_back({.id = newId(held.path), .request = request, .created = now});
    records += taskRecord(tasks.back());
  }
  const std::size_t before = held.length;
  if (auto written = append(&held, records); !written) {
    return std::unexpected(written.error());
  }
  if (::fdatasync(held.journal.get()) != 0) {
    const int error = errno;
    (void)!::ftruncate(held.journal.get(), static_cast<off_t>(before));
    held.length = before;
    return failure("synchronize", journalOf(held.path), error);
  }
  held.tasks += tasks.size();
  return tasks;
}

std::vector<TransferTask> TransferStore::adopt() {
  for (const fs::path& folder : foldersIn(transfers_)) {
    const bool known = std::ranges::find(held_, folder, &Held::path) != held_.end();
    if (!known && !unusable_.contains(folder)) {
      hold(folder);
    }
  }
  return std::exchange(found_, {});
}

fs::path TransferStore::bodyOf(std::string_view id) const {
  const auto held = std::ranges::find(held_, folderNameOf(id), &Held::name);
  return held == held_.end() ? host::bodyOf(transfers_, id) : held->path / bodyNameOf(id);
}

Done TransferStore::keepWait(const TransferTask& task) {
  return append(holderOf(task.id), waitRecord(task));
}

Done TransferStore::keepOutcomes(std::span<const TransferTask* const> tasks) {
  std::map<Held*, std::string> records;
  for (const TransferTask* task : tasks) {
    records[holderOf(task->id)] += outcomeRecord(*task);
  }
  Done done;
  for (const auto& [held, bytes] : records) {
    if (auto written = append(held, bytes); !written) {
      done = std::move(written);
    }
  }
  return done;
}

Done TransferStore::remove(const std::string& id) {
  Held* held = holderOf(id);
  if (auto written = append(held, removalRecord(id)); !written) {
    return written;
  }
  --held->tasks;
  if (held->tasks == 0 && held->length >= kShortJournal) {
    (void)!::ftruncate(held->journal.get(), 0);
    held->length = 0;
  } else if (held->length >= held->renewAt) {
    const Journal journal = readFolder(held->path);
    const auto renewed = journal.damage.empty() ? renew(*held, journal.tasks) : Done();
    if (!renewed) {
      reports_.push_back(renewed.error());
    }
  }
  return {};
}

Done TransferStore::removeBody(const std::string& id) {
  const Held* held = holderOf(id);
  if (!held) {
    return std::unexpected(kForeign);
  }
  if (::unlinkat(held->lock.get(), bodyNameOf(id).c_str(), 0) != 0 && errno != ENOENT) {
    return failure("remove", bodyOf(id));
  }
  return {};
}

std::expected<TransferStore::Held*, std::string> TransferStore::ownFolder() {
  if (!held_.empty()) {
    return &held_.front();
  }
  for (const fs::path& folder : {transfers_.parent_path(), transfers_}) {
    if (auto made = makeFolder(folder); !made) {
      return std::unexpected(made.error());
    }
  }
  constexpr int kMostHosts = 64;
  for (int number = 1; number <= kMostHosts; ++number) {
    const fs::path folder = transfers_ / std::to_string(number);
    if (auto made = makeFolder(folder); !made) {
      return std::unexpected(made.error());
    }
    if (hold(folder)) {
      return &held_.front();
    }
  }
  return std::unexpected("no folder in " + transfers_.string() + " can be used");
}

bool TransferStore::hold(const fs::path& folder) {
  auto lock = lockFolder(folder, WhenHeld::giveUp);
  if (!lock) {
    return lock.error() != std::errc::operation_would_block &&
           giveUp(folder, failure("lock", folder, lock.error().value()).error());
  }
  Held held = {folder, folder.filename().string(), *std::move(lock)};
  Journal journal = readFolder(folder);
  if (auto opened = open(held); !opened) {
    return giveUp(folder, opened.error());
  }
  clearBodies(held, journal.tasks);
  if (!journal.damage.empty() && !setAside(held, journal.damage)) {
    return giveUp(folder, "");
  }
  if (!journal.damage.empty() || journal.length < held.length || held.length >= kShortJournal) {
    if (auto renewed = renew(held, journal.tasks); !renewed) {
      return giveUp(folder, renewed.error());
    }
  }
  held.tasks = journal.tasks.size();
  held.renewAt = 16 * kShortJournal + 2 * held.length;
  std::ranges::move(journal.tasks, std::back_inserter(found_));
  held_.push_back(std::move(held));
  return true;
}

bool TransferStore::giveUp(const fs::path& folder, const std::string& why) {
  unusable_.insert(folder);
  if (!why.empty()) {
    reports_.push_back(why);
  }
  return false;
}

bool TransferStore::holds(std::string_view id) const {
  return std::ranges::find(held_, folderNameOf(id), &Held::name) != held_.end();
}

TransferStore::Held* TransferStore::holderOf(std::string_view id) {
  const auto held = std::ranges::find(held_, folderNameOf(id), &Held::name);
  return held == held_.end() ? nullptr : &*held;
}

Done TransferStore::open(Held& held) {
  const fs::path file = journalOf(held.path);
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC;
  held.journal = FileDescriptor(::open(file.c_str(), kFlags));
  if (!held.journal && errno == ENOENT) {
    held.journal = FileDescriptor(::open(file.c_str(), kFlags | O_CREAT, 0600));
    if (auto synced = sync(held.path); !synced) {
      return synced;
    }
  }
  struct stat status = {};
  if (!held.journal || ::fstat(held.journal.get(), &status) != 0) {
    return failure("open", file);
  }
  held.length = static_cast<std::size_t>(status.st_size);
  return {};
}

Done TransferStore::append(Held* held, std::string_view records) {
  if (!held) {
    return std::unexpected(kForeign);
  }
  if (!writeAll(held->journal.get(), records)) {
    const int error = errno;
    // Half a record in the midst of the journal would pass for damage.
    (void)!::ftruncate(held->journal.get(), static_cast<off_t>(held->length));
    return failure("write", journalOf(held->path), error);
  }
  held->length += records.size();
  return {};
}

/// Writes the journal anew with nothing but the living tasks.
Done TransferStore::renew(Held& held, const std::vector<TransferTask>& tasks) {
  const fs::path file = journalOf(held.path);
  const fs::path passing = fs::path(file) += ".new";
  std::string records;
  for (const TransferTask& task : tasks) {
    records += taskRecord(task);
    records += task.outcome ? outcomeRecord(task) : task.wait.attempts > 0 ? waitRecord(task) : "";
  }
  FileDescriptor out(::open(passing.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!out || !writeAll(out.get(), records) || ::fdatasync(out.get()) != 0 ||
      ::rename(passing.c_str(), file.c_str()) != 0) {
    return failure("renew", file);
  }
  if (auto synced = sync(held.path); !synced) {
    return synced;
  }
  held.renewAt = 16 * kShortJournal + 2 * records.size();
  return open(held);
}

/// Keeps a copy of what is about to be written anew; false where there is none.
bool TransferStore::setAside(const Held& held, const std::vector<std::string>& damage) {
  const fs::path file = journalOf(held.path);
  std::error_code error;
  fs::path aside = fs::path(file) += ".damaged";
  for (int number = 2; fs::exists(aside, error); ++number) {
    aside = fs::path(file) += ".damaged-" + std::to_string(number);
  }
  fs::copy_file(file, aside, error);
  const std::string kept = error ? "can't be set aside: " + error.message()
                                 : "set aside as " + aside.filename().string();
  const std::string report = file.string() + " is damaged and " + kept + ": ";
  for (const std::string& reason : damage) {
    reports_.push_back(report + reason);
  }
  return !error;
}

/// Removes bodies that no task waits for. Only requests are waited for until they are on the disk,
/// so after a power cut a body may be shorter than its outcome says: then the task is done again.
void TransferStore::clearBodies(const Held& held, std::vector<TransferTask>& tasks) const {
  std::set<fs::path> wanted;
  for (TransferTask& task : tasks) {
    if (!task.outcome || task.outcome->error) {
      continue;
    }
    std::error_code error;
    if (fs::file_size(bodyOf(task.id), error) == task.outcome->answer->size && !error) {
      wanted.insert(bodyOf(task.id));
    } else {
      task.outcome.reset();
    }
  }
  std::error_code error;
  for (fs::directory_iterator entry(held.path, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().extension() == ".body" && !wanted.contains(entry->path())) {
      ::unlink(entry->path().c_str());
    }
  }
}

}  // namespace host
