#include "host/sheet/output_folder.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <system_error>

#include "platform/support/files.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr const char* kUnfinished = ".glancery-unfinished";
constexpr const char* kReplaced = ".replaced";

std::runtime_error notWritten(const fs::path& path, const std::string& reason) {
  return std::runtime_error(path.string() + " can't be written: " + reason);
}

bool contains(std::span<const std::string_view> names, const std::string& name) {
  return std::ranges::find(names, name) != names.end();
}

/// Throws an error that names the first file or folder that is not part of the layout.
void checkContents(const fs::path& folder, const OutputFolder::Layout& layout) {
  const auto index = platform::readFile(folder / layout.files.back());
  const std::string mark = "{\n  \"glancery\": \"" + std::string(layout.what) + "\"";
  // An interrupted first run leaves no index.
  const bool ours = fs::exists(folder / kUnfinished) || (index && index->starts_with(mark));
  for (auto entry = fs::recursive_directory_iterator(folder); entry != end(entry); ++entry) {
    const fs::path path = entry->path().lexically_relative(folder);
    if (path == kUnfinished) {
      entry.disable_recursion_pending();
      continue;
    }
    const auto type = entry->symlink_status().type();
    const bool inFolders = contains(layout.folders, *path.begin());
    const bool isImage = path.extension() == ".png" || path.extension() == ".json";
    const bool known = type == fs::file_type::directory ? inFolders
                       : entry.depth() == 0             ? contains(layout.files, path)
                                                        : inFolders && isImage;
    if (!ours || !known || (type != fs::file_type::directory && type != fs::file_type::regular)) {
      throw std::runtime_error(folder.string() + " holds \"" + path.string() +
                               "\", which is not part of a " + std::string(layout.what) +
                               ": give a new or an empty folder");
    }
  }
}

}  // namespace

OutputFolder::OutputFolder(fs::path folder, const Layout& layout)
    : folder_(std::move(folder)), unfinished_(folder_ / kUnfinished), layout_(layout) {
  std::error_code error;
  fs::create_directories(folder_, error);
  if (!fs::is_directory(folder_)) {
    throw notWritten(folder_, error ? error.message() : "it is not a folder");
  }
  auto lock = platform::lockFolder(folder_);
  if (!lock) {
    const bool held = lock.error() == std::errc::operation_would_block;
    throw notWritten(folder_, held ? "another run is writing it" : lock.error().message());
  }
  lock_ = *std::move(lock);
  try {
    checkContents(folder_, layout_);
    fs::remove_all(unfinished_);
    fs::create_directory(unfinished_);
  } catch (const fs::filesystem_error& failure) {
    throw notWritten(folder_, failure.code().message());
  }
}

OutputFolder::~OutputFolder() {
  std::error_code ignored;
  fs::remove_all(unfinished_, ignored);
}

void OutputFolder::write(const fs::path& file, std::string_view bytes) {
  const fs::path path = unfinished_ / file;
  std::error_code error = platform::writeFile(path, bytes);
  if (error == std::errc::no_such_file_or_directory) {
    fs::create_directories(path.parent_path(), error);
    error = platform::writeFile(path, bytes);
  }
  if (error) {
    throw notWritten(folder_ / file, error.message());
  }
}

void OutputFolder::publish() {
  try {
    fs::create_directory(unfinished_ / kReplaced);
    for (const std::string_view name : layout_.folders) {
      if (fs::exists(folder_ / name)) {
        fs::rename(folder_ / name, unfinished_ / kReplaced / name);
      }
      if (fs::exists(unfinished_ / name)) {
        fs::rename(unfinished_ / name, folder_ / name);
      }
    }
    // The files come last, and the index after all others, because it marks the folder as complete.
    for (const std::string_view name : layout_.files) {
      fs::rename(unfinished_ / name, folder_ / name);
    }
  } catch (const fs::filesystem_error& failure) {
    throw notWritten(failure.path1(), failure.code().message());
  }
}

}  // namespace host
