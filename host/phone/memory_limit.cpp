#include "host/phone/memory_limit.h"

#include <sys/resource.h>

#include <array>
#include <cstdio>
#include <cstdlib>

#include "platform/support/files.h"

namespace host {

namespace {

constexpr std::size_t kReservable = 2;

/// The bytes of a field, which the kernel prints in kibibytes; 0 if it is missing.
std::size_t fieldIn(const std::string& status, const std::string& name) {
  const std::size_t field = status.find(name);
  return field == std::string::npos
             ? 0
             : std::strtoull(status.c_str() + field + name.size(), nullptr, 10) * 1024;
}

std::string mebibytes(std::size_t bytes) {
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.1f MiB", static_cast<double>(bytes) / (1 << 20));
  return text.data();
}

}  // namespace

std::size_t dirtyMemoryIn(const std::string& status) {
  return fieldIn(status, "\nRssAnon:") + fieldIn(status, "\nVmSwap:");
}

std::size_t dirtyMemoryOf(pid_t process) {
  const auto status = platform::readFile("/proc/" + std::to_string(process) + "/status");
  return status ? dirtyMemoryIn(*status) : 0;
}

MemoryLimit::MemoryLimit(pid_t process, std::size_t bytes) : process_(process), bytes_(bytes) {
  if (bytes > 0) {
    const rlimit data = {kReservable * bytes, kReservable * bytes};
    ::prlimit(process, RLIMIT_DATA, &data, nullptr);
  }
}

std::optional<std::string> MemoryLimit::exceeded() const {
  const std::size_t dirty = bytes_ > 0 ? dirtyMemoryOf(process_) : 0;
  return dirty > bytes_ ? std::optional(sentence("used " + mebibytes(dirty))) : std::nullopt;
}

std::string MemoryLimit::allocationFailed() const {
  return sentence("asked for more than " + mebibytes(kReservable * bytes_));
}

std::string MemoryLimit::sentence(const std::string& what) const {
  return "it " + what + " of dirty memory, the limit is " + mebibytes(bytes_);
}

}  // namespace host
