#include "host/transfer/transfer_folder.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <set>
#include <system_error>

#include "host/transfer/transfer_record.h"
#include "platform/foundation/files.h"

namespace host {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDamaged = ".damaged";

std::string_view endingOf(TransferPart part) {
  constexpr std::string_view kEndings[] = {".task", ".wait", ".outcome", ".body"};
  return kEndings[std::to_underlying(part)];
}

std::optional<int> numberOf(std::string_view name) {
  int number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  const bool whole = error == std::errc() && end == name.data() + name.size();
  return whole && number > 0 && name.front() != '0' ? std::optional(number) : std::nullopt;
}

/// What a record holds, nothing where the file is not there, or why it can't be read.
template <class Record>
std::expected<std::optional<Record>, std::string> readRecord(
    const fs::path& file, std::expected<Record, std::string> (*decode)(std::string_view)) {
  const auto bytes = platform::readFile(file);
  if (!bytes) {
    if (bytes.error() == std::errc::no_such_file_or_directory) {
      return std::nullopt;
    }
    return std::unexpected(bytes.error().message());
  }
  auto record = decode(*bytes);
  if (!record) {
    return std::unexpected(record.error());
  }
  return *std::move(record);
}

/// Reads a folder's files task by task.
class FolderReader {
 public:
  explicit FolderReader(const fs::path& folder) : folder_(folder) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
      names_.insert(entry->path().filename().string());
    }
  }

  FolderContents read() && {
    for (const std::string& name : names_) {
      if (isSetAside(name)) {
        contents_.damaged.push_back({folder_ / name, "set aside before"});
      } else if (name.ends_with(endingOf(TransferPart::task))) {
        readTask(name.substr(0, name.size() - endingOf(TransferPart::task).size()));
      } else if (!belongsToATask(name)) {
        contents_.refuse.push_back(folder_ / name);
      }
    }
    std::ranges::sort(contents_.tasks, {}, [](const TransferTask& task) {
      return std::pair(task.created, task.id);
    });
    return std::move(contents_);
  }

 private:
  fs::path part(const std::string& id, TransferPart which) const {
    return folder_ / (id + std::string(endingOf(which)));
  }

  bool belongsToATask(const std::string& name) const {
    const std::size_t dot = name.find('.');
    const std::string_view ending = std::string_view(name).substr(std::min(dot, name.size()));
    const bool known = ending == endingOf(TransferPart::wait) ||
                       ending == endingOf(TransferPart::outcome) ||
                       ending == endingOf(TransferPart::body);
    return known &&
           names_.contains(name.substr(0, dot) + std::string(endingOf(TransferPart::task)));
  }

  /// Notes a damaged record; nothing where it is not there either.
  template <class Record>
  std::optional<Record> readPart(const std::string& id,
                                 TransferPart which,
                                 std::expected<Record, std::string> (*decode)(std::string_view)) {
    auto record = readRecord(part(id, which), decode);
    if (!record) {
      contents_.damaged.push_back({part(id, which), record.error()});
      return std::nullopt;
    }
    return *std::move(record);
  }

  void readTask(const std::string& id) {
    auto task = readPart(id, TransferPart::task, decodeTask);
    if (!task) {
      return;
    }
    if (task->id != id) {
      contents_.damaged.push_back(
          {part(id, TransferPart::task), "the record is of the task " + task->id});
      return;
    }
    task->outcome = readPart(id, TransferPart::outcome, decodeOutcome);
    if (task->outcome && !task->outcome->error && !bodyFits(*task)) {
      return;
    }
    if (!task->outcome) {
      task->wait = readPart(id, TransferPart::wait, decodeWait).value_or(TransferWait());
    }
    contents_.tasks.push_back(*std::move(task));
  }

  /// Only the request is waited for until it is on the disk, so after a power cut a body may be
  /// shorter than its outcome says: then the task is to be done again. No body at all means that
  /// the receiver has taken it, and only the removal of the task was missed.
  bool bodyFits(TransferTask& task) {
    std::error_code error;
    const auto size = fs::file_size(part(task.id, TransferPart::body), error);
    if (error == std::errc::no_such_file_or_directory) {
      contents_.refuse.push_back(part(task.id, TransferPart::task));
      contents_.refuse.push_back(part(task.id, TransferPart::outcome));
      return false;
    }
    if (error || size != task.outcome->answer->size) {
      contents_.refuse.push_back(part(task.id, TransferPart::outcome));
      task.outcome.reset();
    }
    return true;
  }

  fs::path folder_;
  std::set<std::string> names_;
  FolderContents contents_;
};

}  // namespace

fs::path transfersFolder(const fs::path& container) {
  return container / "Library" / "Transfers";
}

fs::path folderOf(const fs::path& transfers, std::string_view id) {
  const std::string_view number = id.substr(0, id.find('-'));
  const bool plain = std::ranges::all_of(id, [](char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') || letter == '-';
  });
  return plain && number.size() + 1 < id.size() && numberOf(number) ? transfers / number
                                                                    : fs::path();
}

fs::path partOf(const fs::path& transfers, std::string_view id, TransferPart part) {
  return folderOf(transfers, id) / (std::string(id) += endingOf(part));
}

FolderContents readFolder(const fs::path& folder) {
  return FolderReader(folder).read();
}

std::vector<fs::path> foldersIn(const fs::path& transfers) {
  std::map<int, fs::path> folders;
  std::error_code error;
  for (fs::directory_iterator entry(transfers, error), end; !error && entry != end;
       entry.increment(error)) {
    if (const auto number = numberOf(entry->path().filename().string())) {
      folders.emplace(*number, entry->path());
    }
  }
  std::vector<fs::path> ordered;
  for (auto& [number, path] : folders) {
    ordered.push_back(std::move(path));
  }
  return ordered;
}

bool isSetAside(const fs::path& file) {
  return file.filename().string().find(kDamaged) != std::string::npos;
}

}  // namespace host
