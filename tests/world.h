#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/time/device.h"
#include "platform/support/scratch_folder.h"
#include "tests/instant.h"

// A test's environment: a new folder, a frozen clock, a captured log.

namespace world {

using Folder = platform::ScratchFolder;

/// An empty container for this process's suites.
class Container : public Folder {
 public:
  Container() { platform::setSharedContainer(path()); }
};

/// Freezes the phone's clock at `now`, in `zone`.
inline void phoneAt(platform::Date now, std::string zone = "UTC", std::string locale = "es_MX") {
  platform::setCurrentDevice({.clock = platform::Clock::frozenAt(now),
                              .timeZone = std::move(zone),
                              .locale = std::move(locale)});
}

/// Captures this process's standard output while it exists.
class CapturedLog {
 public:
  CapturedLog() : file_(::memfd_create("log", MFD_CLOEXEC)), original_(::dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    ::dup2(file_, STDOUT_FILENO);
  }
  ~CapturedLog() {
    ::dup2(original_, STDOUT_FILENO);
    ::close(original_);
    ::close(file_);
  }
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;

  std::vector<std::string> lines() const {
    std::ifstream in("/proc/self/fd/" + std::to_string(file_));
    std::vector<std::string> all;
    for (std::string line; std::getline(in, line);) {
      all.push_back(line);
    }
    return all;
  }

 private:
  int file_;
  int original_;
};

inline std::string readWhole(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  EXPECT_TRUE(in) << file;
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

inline void writeWhole(const std::filesystem::path& file, std::string_view bytes) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << bytes;
}

}  // namespace world
