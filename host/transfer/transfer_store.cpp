#include "host/transfer/transfer_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include "host/transfer/transfer_record.h"
#include "platform/foundation/require.h"

namespace host {

namespace {

namespace fs = std::filesystem;
using Done = std::expected<void, std::string>;

/// From here on one sync of the whole file system is quicker than one of every file.
constexpr std::size_t kManyTasks = 8;

std::unexpected<std::string> failure(const char* what, const fs::path& path, int error = errno) {
  return std::unexpected("can't " + std::string(what) + " " + path.string() + ": " +
                         std::generic_category().message(error));
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

fs::path besides(fs::path file, const std::string& ending) {
  return file += ending;
}

/// Writes a part under its passing name.
std::expected<FileDescriptor, std::string> writeAside(const fs::path& file,
                                                      std::string_view bytes) {
  const fs::path passing = besides(file, ".new");
  FileDescriptor out(::open(passing.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!out && errno == EEXIST && ::unlink(passing.c_str()) == 0) {
    out = FileDescriptor(::open(passing.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  }
  if (!out) {
    return failure("create", passing);
  }
  while (!bytes.empty()) {
    const ssize_t written = ::write(out.get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written < 0) {
      const int error = errno;
      ::unlink(passing.c_str());
      return failure("write", passing, error);
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return out;
}

Done moveIntoPlace(const fs::path& file) {
  if (::rename(besides(file, ".new").c_str(), file.c_str()) != 0) {
    return failure("create", file);
  }
  return {};
}

/// Replaces a part. The old one goes first: renaming onto a file makes ext4 flush the new one, and
/// a part that is missing for a moment only means that less is known of the task.
Done replace(const fs::path& file, std::string_view bytes) {
  if (const auto written = writeAside(file, bytes); !written) {
    return std::unexpected(written.error());
  }
  ::unlink(file.c_str());
  return moveIntoPlace(file);
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

/// The bytes of every new task, on the disk.
Done syncTasks(const fs::path& folder, const std::vector<FileDescriptor>& files, bool whole) {
  if (whole) {
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return descriptor && ::syncfs(descriptor.get()) == 0 ? Done() : failure("synchronize", folder);
  }
  for (const FileDescriptor& file : files) {
    if (::fdatasync(file.get()) != 0) {
      return failure("synchronize a task in", folder);
    }
  }
  return {};
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
  const fs::path& folder = (*own)->path;
  const bool many = requests.size() > kManyTasks;
  std::vector<TransferTask> tasks;
  std::vector<FileDescriptor> files;
  const auto written = [&]() -> Done {
    for (const TransferRequest& request : requests) {
      tasks.push_back({.id = newId(folder), .request = request, .created = now});
      auto file = writeAside(partOf(transfers_, tasks.back().id, TransferPart::task),
                             encodeTask(tasks.back()));
      if (!file) {
        return std::unexpected(file.error());
      }
      if (!many) {
        files.push_back(*std::move(file));
      }
    }
    if (auto synced = syncTasks(folder, files, many); !synced) {
      return synced;
    }
    for (const TransferTask& task : tasks) {
      if (auto moved = moveIntoPlace(partOf(transfers_, task.id, TransferPart::task)); !moved) {
        return moved;
      }
    }
    return sync(folder);
  }();
  if (!written) {
    for (const TransferTask& task : tasks) {
      const fs::path file = partOf(transfers_, task.id, TransferPart::task);
      ::unlink(file.c_str());
      ::unlink(besides(file, ".new").c_str());
    }
    return std::unexpected(written.error());
  }
  return tasks;
}

std::vector<TransferTask> TransferStore::adopt() {
  std::vector<TransferTask> tasks = std::exchange(found_, {});
  for (const fs::path& folder : foldersIn(transfers_)) {
    if (holds(folder) || !hold(folder)) {
      continue;
    }
    FolderContents contents = readFolder(folder);
    clear(contents);
    std::ranges::move(contents.tasks, std::back_inserter(tasks));
  }
  return tasks;
}

fs::path TransferStore::bodyOf(const std::string& id) const {
  return partOf(transfers_, id, TransferPart::body);
}

Done TransferStore::keepWait(const TransferTask& task) {
  return replace(partOf(transfers_, task.id, TransferPart::wait), encodeWait(task.wait));
}

Done TransferStore::keepOutcome(const TransferTask& task) {
  return replace(partOf(transfers_, task.id, TransferPart::outcome), encodeOutcome(*task.outcome));
}

Done TransferStore::remove(const std::string& id) {
  using enum TransferPart;
  // The task goes first: what is left of it after a kill is refuse.
  const fs::path file = partOf(transfers_, id, task);
  if (::unlink(file.c_str()) != 0 && errno != ENOENT) {
    return failure("remove", file);
  }
  for (const TransferPart part : {body, outcome, wait}) {
    ::unlink(partOf(transfers_, id, part).c_str());
  }
  return {};
}

std::expected<const TransferStore::Held*, std::string> TransferStore::ownFolder() {
  if (!held_.empty()) {
    return &held_.front();
  }
  for (const fs::path& folder : {transfers_.parent_path(), transfers_}) {
    if (auto made = makeFolder(folder); !made) {
      return std::unexpected(made.error());
    }
  }
  for (int number = 1;; ++number) {
    const fs::path folder = transfers_ / std::to_string(number);
    if (auto made = makeFolder(folder); !made) {
      return std::unexpected(made.error());
    }
    if (hold(folder)) {
      FolderContents contents = readFolder(folder);
      clear(contents);
      found_ = std::move(contents.tasks);
      return &held_.front();
    }
    if (errno != EWOULDBLOCK) {
      return failure("lock", folder);
    }
  }
}

bool TransferStore::hold(const fs::path& folder) {
  FileDescriptor lock(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    return false;
  }
  held_.push_back({folder, std::move(lock)});
  return true;
}

bool TransferStore::holds(const fs::path& folder) const {
  return std::ranges::any_of(held_, [&](const Held& held) { return held.path == folder; });
}

void TransferStore::clear(const FolderContents& contents) {
  for (const DamagedRecord& record : contents.damaged) {
    if (!isSetAside(record.file)) {
      setAside(record.file, record.reason);
    }
  }
  for (const fs::path& file : contents.refuse) {
    if (::unlink(file.c_str()) != 0 && errno != ENOENT) {
      reports_.push_back(failure("remove", file).error());
    }
  }
}

void TransferStore::setAside(const fs::path& file, const std::string& reason) {
  const fs::path aside = besides(file, ".damaged");
  if (::rename(file.c_str(), aside.c_str()) != 0) {
    reports_.push_back(failure("set aside", file).error());
    return;
  }
  reports_.push_back(file.string() + " is damaged and set aside as " + aside.filename().string() +
                     ": " + reason);
  if (file.extension() != ".task") {
    return;
  }
  // The rest of the task would be refuse without it.
  for (const char* part : {".wait", ".outcome", ".body"}) {
    const fs::path rest = fs::path(file).replace_extension(part);
    ::rename(rest.c_str(), besides(rest, ".damaged").c_str());
  }
}

}  // namespace host
