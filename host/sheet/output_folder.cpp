#include "host/sheet/output_folder.h"

#include <algorithm>
#include <system_error>

#include "host/phone/command_error.h"
#include "platform/support/files.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr const char* kAside = ".glancery-unfinished";
constexpr const char* kReplaced = ".replaced";

CommandError refusal(const fs::path& folder,
                     const fs::path& member,
                     const OutputFolder::Layout& layout) {
  return CommandError(folder.string() + " holds \"" + member.string() +
                      "\", which is no part of a " + std::string(layout.what) +
                      ": give a new or an empty folder");
}

bool isPicture(const fs::directory_entry& entry) {
  const fs::path ending = entry.path().extension();
  return entry.symlink_status().type() == fs::file_type::regular &&
         (ending == ".png" || ending == ".json");
}

/// Folders of pictures, and folders of such.
void checkPictures(const fs::path& folder,
                   const fs::path& below,
                   const OutputFolder::Layout& layout) {
  for (const auto& entry : fs::recursive_directory_iterator(folder / below)) {
    if (entry.symlink_status().type() != fs::file_type::directory && !isPicture(entry)) {
      throw refusal(folder, entry.path().lexically_relative(folder), layout);
    }
  }
}

bool saysWhatItIs(const fs::path& file, std::string_view what) {
  const auto bytes = platform::readFile(file);
  const std::string mark = "{\n  \"glancery\": \"" + std::string(what) + "\"";
  return bytes && bytes->starts_with(mark);
}

void checkContents(const fs::path& folder, const OutputFolder::Layout& layout) {
  // A first run that was interrupted has left no index yet.
  const bool marked =
      fs::exists(folder / kAside) || saysWhatItIs(folder / layout.files.back(), layout.what);
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename();
    const auto type = entry.symlink_status().type();
    const bool file = type == fs::file_type::regular && marked &&
                      std::ranges::find(layout.files, name) != layout.files.end();
    const bool pictures = type == fs::file_type::directory && marked &&
                          std::ranges::find(layout.folders, name) != layout.folders.end();
    if (pictures) {
      checkPictures(folder, name, layout);
    } else if (!file && name != kAside) {
      throw refusal(folder, name, layout);
    }
  }
}

}  // namespace

OutputFolder::OutputFolder(fs::path folder, const Layout& layout)
    : folder_(std::move(folder)), aside_(folder_ / kAside), layout_(layout) {
  std::error_code error;
  fs::create_directories(folder_, error);
  if (!fs::is_directory(folder_)) {
    throw CommandError(folder_.string() +
                       " can't be made: " + (error ? error.message() : "it is not a folder"));
  }
  auto lock = platform::lockFolder(folder_);
  if (!lock) {
    const bool held = lock.error() == std::errc::operation_would_block;
    throw CommandError(folder_.string() + " can't be written: " +
                       (held ? "another run is writing it" : lock.error().message()));
  }
  lock_ = *std::move(lock);
  try {
    checkContents(folder_, layout_);
    fs::remove_all(aside_);
    fs::create_directory(aside_);
  } catch (const fs::filesystem_error& failure) {
    throw CommandError(folder_.string() + " can't be written: " + failure.code().message());
  }
}

OutputFolder::~OutputFolder() {
  std::error_code ignored;
  fs::remove_all(aside_, ignored);
}

void OutputFolder::write(const fs::path& file, std::string_view bytes) {
  const fs::path path = aside_ / file;
  auto error = platform::writeFile(path, bytes);
  if (error == std::errc::no_such_file_or_directory) {
    std::error_code ignored;
    fs::create_directories(path.parent_path(), ignored);
    error = platform::writeFile(path, bytes);
  }
  if (error) {
    throw CommandError((folder_ / file).string() + " can't be written: " + error.message());
  }
}

void OutputFolder::publish() {
  try {
    fs::create_directory(aside_ / kReplaced);
    // Files last, the index as the last of them: it stands for the whole.
    for (const std::string_view name : layout_.folders) {
      if (fs::exists(folder_ / name)) {
        fs::rename(folder_ / name, aside_ / kReplaced / name);
      }
      if (fs::exists(aside_ / name)) {
        fs::rename(aside_ / name, folder_ / name);
      }
    }
    for (const std::string_view name : layout_.files) {
      fs::rename(aside_ / name, folder_ / name);
    }
  } catch (const fs::filesystem_error& failure) {
    throw CommandError(failure.path1().string() +
                       " can't be put in place: " + failure.code().message());
  }
}

}  // namespace host
