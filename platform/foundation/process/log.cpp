#include "platform/foundation/process/log.h"

#include <unistd.h>

#include <cerrno>

namespace platform::detail {

void writeLine(std::string_view line) {
  while (!line.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, line.data(), line.size());
    if (written < 0) {
      if (errno == EINTR) {
        continue;
      }
      return;  // Nobody reads the log any more; there is nowhere left to say so.
    }
    line.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace platform::detail
