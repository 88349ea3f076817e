#pragma once

#include <iostream>
#include <stdexcept>
#include <string>

namespace host {

/// Exit statuses of the command line.
inline constexpr int kDone = 0;
inline constexpr int kNotDone = 1;
inline constexpr int kWrongUsage = 2;
inline constexpr int kDiffers = 3;

/// Ends a command with one line on standard error; never leaves this folder.
class CommandError : public std::runtime_error {
 public:
  explicit CommandError(const std::string& line, int status = kNotDone)
      : std::runtime_error(line), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

/// The extension is no longer there; a new launch may do better.
class ExtensionEnded : public CommandError {
 public:
  using CommandError::CommandError;
};

/// One line on standard error for what did not stop the command.
inline void complain(const std::string& line) {
  std::cerr << "glancery: " << line << '\n';
}

/// A value that the user gave can't be right: names it and says what would be.
inline CommandError wrongValue(const std::string& what,
                               const std::string& value,
                               const std::string& right) {
  return CommandError(what + " \"" + value + "\": " + right, kWrongUsage);
}

}  // namespace host
