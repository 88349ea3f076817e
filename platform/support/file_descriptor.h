#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

/// Owns a file descriptor and closes it; negative if there is none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int opened) : number_(opened) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor() { close(); }

  explicit operator bool() const { return number_ >= 0; }
  int get() const { return number_; }
  /// False, with `errno`, if the system reports a failed write only now.
  bool close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_ = -1;
};

}  // namespace platform
