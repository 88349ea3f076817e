#include "host/commands/terminal.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
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

ProgressBar::~ProgressBar() {
  if (onTerminal_) {
    std::fputs("\r\x1B[K", stderr);
  }
}

void ProgressBar::show(std::size_t done, std::size_t total) {
  if (!onTerminal_ || Clock::now() < next_) {
    return;
  }
  next_ = Clock::now() + std::chrono::milliseconds(100);
  std::string bar(32, '.');
  const std::size_t filled = std::min(done, total) * bar.size() / total;
  bar.replace(0, filled, filled, '#');
  std::fprintf(stderr, "\r\x1B[K[%s] %zu of %zu %s", bar.c_str(), done, total, things_);
  if (done > 0) {
    const std::chrono::duration<double> so = Clock::now() - start_;
    const auto left = static_cast<double>(total - done) / static_cast<double>(done);
    std::fprintf(stderr, ", %.0f s left", std::ceil(so.count() * left));
  }
}

}  // namespace host
