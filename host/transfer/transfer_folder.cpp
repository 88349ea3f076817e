#include "host/transfer/transfer_folder.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <system_error>

#include "platform/foundation/files.h"
#include "platform/foundation/utf8.h"

namespace host {

namespace {

namespace fs = std::filesystem;

std::optional<int> numberOf(std::string_view name) {
  int number = 0;
  const char* const end = name.data() + name.size();
  const auto [rest, error] = std::from_chars(name.data(), end, number);
  const bool whole = error == std::errc() && rest == end;
  return whole && number > 0 && name.front() != '0' ? std::optional(number) : std::nullopt;
}

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

std::string bodyNameOf(std::string_view id) {
  return std::string(id) += ".body";
}

fs::path bodyOf(const fs::path& transfers, std::string_view id) {
  return folderOf(transfers, id) / bodyNameOf(id);
}

fs::path journalOf(const fs::path& folder) {
  return folder / "journal";
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
  ordered.reserve(folders.size());
  for (auto& [number, path] : folders) {
    ordered.push_back(std::move(path));
  }
  return ordered;
}

Journal readFolder(const fs::path& folder) {
  // A journal that is emptied while it is read may come out mixed; damage is there the next time
  // too.
  constexpr int kLooks = 3;
  Journal journal;
  for (int look = 0; look < kLooks; ++look) {
    const auto bytes = platform::readFile(journalOf(folder));
    if (!bytes && bytes.error() != std::errc::no_such_file_or_directory) {
      return {.tasks = {}, .damage = {bytes.error().message()}};
    }
    journal = readJournal(bytes.value_or(""));
    const auto strangers = std::ranges::remove_if(journal.tasks, [&](const TransferTask& task) {
      return folderOf(folder.parent_path(), task.id) != folder;
    });
    for (const TransferTask& task : strangers) {
      journal.damage.push_back("a task of another folder: " + platform::excerpt(task.id));
    }
    journal.tasks.erase(strangers.begin(), strangers.end());
    if (journal.damage.empty()) {
      break;
    }
  }
  return journal;
}

std::vector<fs::path> setAsideIn(const fs::path& folder) {
  std::vector<fs::path> aside;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().filename().string().starts_with("journal.damaged")) {
      aside.push_back(entry->path());
    }
  }
  std::ranges::sort(aside);
  return aside;
}

}  // namespace host
