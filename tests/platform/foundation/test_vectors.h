#pragma once

#include <fstream>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace platform {

/// The rows of one file of `tests/data`.
inline nlohmann::json testVectors(const std::string& name) {
  std::ifstream file(std::string(GLANCERY_TEST_DATA) + "/" + name);
  if (!file) {
    throw std::runtime_error("no test data " + name);
  }
  return nlohmann::json::parse(file);
}

}  // namespace platform
