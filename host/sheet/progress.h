#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace host {

/// A bar on standard error that says how much is done and how long the rest may take, if that is a
/// terminal; nothing otherwise. Used by one thread.
class Progress {
 public:
  explicit Progress(std::size_t total);
  /// Leaves the line empty.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(std::size_t done);

 private:
  using Clock = std::chrono::steady_clock;

  bool onTerminal_;
  std::size_t total_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point next_ = start_;
};

/// "[########............] 512 of 1280, 3 s left"; without the time while nothing is done.
std::string progressLine(std::size_t done, std::size_t total, double secondsSoFar);

}  // namespace host
