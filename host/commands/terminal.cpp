#include "host/commands/terminal.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string_view>

namespace host {

namespace {

std::string_view variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

bool hasEscapes(int descriptor) {
  return ::isatty(descriptor) == 1 && variable("TERM") != "dumb";
}

void print(const std::vector<Line>& lines) {
  const bool colored = hasEscapes(STDOUT_FILENO) && variable("NO_COLOR").empty();
  std::map<std::size_t, std::size_t> widths;  // A line's last cell needs none.
  for (const auto& [cells, color] : lines) {
    for (std::size_t column = 0; column + 1 < cells.size() && ::isatty(STDOUT_FILENO); ++column) {
      widths[column] = std::max(widths[column], cells[column].size());
    }
  }
  for (const auto& [cells, color] : lines) {
    std::string line = colored ? color : "";
    for (std::size_t column = 0; column < cells.size(); ++column) {
      line += cells[column] + (column == 0 && colored && !color.empty() ? "\x1B[0m" : "");
      if (column + 1 < cells.size()) {
        const std::size_t width = std::max(widths[column], cells[column].size());
        line += std::string(width - cells[column].size() + 1, ' ');
      }
    }
    std::cout << line << '\n';
  }
}

}  // namespace host
