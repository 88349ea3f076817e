#pragma once

#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/instant.h"

/// The rows of `tests/data/<file>`: recorded results of the platform's libraries.
inline std::vector<nlohmann::json> vectorRows(std::string_view file) {
  const std::string path = std::string(GLANCERY_TEST_DATA "/").append(file);
  std::ifstream in(path);
  if (!in) {
    throw std::runtime_error("can't open " + path);
  }
  const auto rows = nlohmann::json::parse(in);
  if (rows.empty()) {
    throw std::runtime_error("no rows in " + path);
  }
  return {rows.begin(), rows.end()};
}
