#include "platform/foundation/process/log.h"

#include <unistd.h>

#include "platform/support/files.h"

namespace platform::detail {

void writeLine(std::string_view line) {
  // If no process reads the log any more, there is nowhere left to report that.
  (void)writeBytes(STDOUT_FILENO, line);
}

}  // namespace platform::detail
