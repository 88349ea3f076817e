#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/support/child_process.h"
#include "store/shared_store.h"
#include "tests/world.h"

namespace world {

using platform::ChildProcess;
using platform::ProgramEnd;

/// Runs a program to its end.
inline ProgramEnd run(const std::filesystem::path& program, std::vector<std::string> words) {
  words.insert(words.begin(), program.string());
  return *ChildProcess(words).wait();
}

/// A phone for one test: the built program with a new container.
class Phone {
 public:
  ProgramEnd glancery(std::vector<std::string> words) const {
    words.insert(words.end(), {"--container", container().string()});
    return run(std::string(GLANCERY_BUILD) + "/glancery", words);
  }
  std::filesystem::path container() const { return folder_.path() / "container"; }
  std::filesystem::path file(const std::string& name) const { return folder_.path() / name; }
  std::filesystem::path suiteFile() const {
    return container() / "Library" / "Preferences" /
           (glancery::kAppGroupIdentifier + std::string(".plist"));
  }

 private:
  Folder folder_;
};

}  // namespace world
