#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "tests/world.h"

namespace world {

/// Every file below the folder, by its relative path, with its bytes.
inline std::map<std::string, std::string> contents(const std::filesystem::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) {
      files[entry.path().lexically_relative(folder)] = readWhole(entry.path());
    }
  }
  return files;
}

}  // namespace world
