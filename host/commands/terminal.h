#pragma once

#include <unistd.h>

#include <chrono>
#include <string>
#include <vector>

namespace host {

/// Whether a descriptor is a terminal that understands escape sequences (`TERM` is not "dumb").
bool hasEscapes(int descriptor);

/// Escape sequences of colours.
inline constexpr const char* kStrong = "\x1B[1m";
inline constexpr const char* kGood = "\x1B[32m";
inline constexpr const char* kBad = "\x1B[31m";
inline constexpr const char* kFaint = "\x1B[2m";

/// A line of a result: cells that are separated by a space, and the colour of the first.
struct Line {
  std::vector<std::string> cells;
  std::string color = {};
};

/// Prints lines on standard output. On a terminal, the cells of all lines are aligned in columns,
/// and colours are used unless `NO_COLOR` is set.
void print(const std::vector<Line>& lines);

/// A progress bar on standard error with the remaining time, if that is a terminal. The destructor
/// clears its line.
class ProgressBar {
 public:
  /// `things` are counted, such as "pictures".
  explicit ProgressBar(const char* things) : things_(things) {}
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void show(std::size_t done, std::size_t total);

 private:
  using Clock = std::chrono::steady_clock;

  const char* things_;
  bool onTerminal_ = hasEscapes(STDERR_FILENO);
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_;
};

}  // namespace host
