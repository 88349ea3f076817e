#pragma once

#include <string>
#include <vector>

namespace bench {

/// What one process took.
struct Measured {
  double milliseconds = 0;
  /// The largest resident set, of the process or of one that it started and waited for; of a
  /// running extension its dirty memory.
  double mebibytes = 0;
};

/// Runs a program, looked up on the path, from spawn to exit, with its output thrown away. One that
/// can't be started or exits with another status than 0 ends this program.
Measured runProgram(const std::vector<std::string>& words);

/// Keeps this process and all it starts on one core; the core's number, or -1 where that is
/// refused.
int pinToOneCore();

}  // namespace bench
