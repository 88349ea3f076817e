#pragma once

#include <string>
#include <vector>

namespace bench {

/// The cost of one process.
struct Measured {
  double milliseconds = 0;
  /// The largest resident set, of the process or of one that it started and waited for; of a
  /// running extension its dirty memory.
  double mebibytes = 0;
};

/// Runs a program, looked up in PATH, from spawn to exit, and discards its output. Ends this
/// program if that one can't be started or its exit status is not 0.
Measured runProgram(const std::vector<std::string>& words);

/// Pins this process and its children to one core. Returns the core's number, or -1 if the system
/// refuses.
int pinToOneCore();

}  // namespace bench
