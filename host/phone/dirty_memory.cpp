#include "host/phone/dirty_memory.h"

#include <charconv>
#include <string>

#include "platform/support/files.h"

namespace host {

namespace {

/// A field's value, which the kernel prints in kibibytes.
std::size_t fieldIn(std::string_view status, std::string_view name) {
  const std::size_t field = status.find(name);
  const std::size_t digits = status.find_first_of("0123456789", field);
  std::size_t kibibytes = 0;
  if (field != std::string_view::npos && digits != std::string_view::npos) {
    std::from_chars(status.data() + digits, status.data() + status.size(), kibibytes);
  }
  return kibibytes * 1024;
}

}  // namespace

std::size_t dirtyMemoryIn(std::string_view status) {
  return fieldIn(status, "\nRssAnon:") + fieldIn(status, "\nVmSwap:");
}

std::size_t dirtyMemoryOf(pid_t pid) {
  const auto status = platform::readFile("/proc/" + std::to_string(pid) + "/status");
  return status ? dirtyMemoryIn(*status) : 0;
}

}  // namespace host
