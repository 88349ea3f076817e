#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace platform {

/// A new folder for temporary files, which is removed with its contents at the end unless it
/// is kept. Throws a `std::system_error` if it can't be made.
class ScratchFolder {
 public:
  ScratchFolder() : ScratchFolder(temporary()) {}
  explicit ScratchFolder(const std::filesystem::path& parent) {
    std::string name = parent / "glancery-XXXXXX";
    if (!::mkdtemp(name.data())) {
      throw std::system_error(errno, std::system_category(), name + " can't be made");
    }
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    if (!kept_) {
      std::filesystem::remove_all(path_, ignored);
    }
  }
  /// In memory where the machine has a file system for that: for many small files.
  static ScratchFolder inMemory() {
    return ::access("/dev/shm", W_OK | X_OK) == 0 ? ScratchFolder("/dev/shm") : ScratchFolder();
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// Leaves the folder where it is, and returns its path.
  const std::filesystem::path& keep() {
    kept_ = true;
    return path_;
  }

 private:
  static std::filesystem::path temporary() {
    const char* const chosen = std::getenv("TMPDIR");
    return chosen ? chosen : "/tmp";
  }

  std::filesystem::path path_;
  bool kept_ = false;
};

}  // namespace platform
