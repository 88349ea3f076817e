#pragma once

#include <string>

#include "host/phone/host_error.h"

namespace host {

/// Exit statuses of the command line.
inline constexpr int kDone = 0;
inline constexpr int kNotDone = 1;
inline constexpr int kWrongUsage = 2;
inline constexpr int kDiffers = 3;

/// Ends a command with this line on standard error and this exit status.
class CommandError : public HostError {
 public:
  explicit CommandError(const std::string& line, int status = kNotDone)
      : HostError(line), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

}  // namespace host
