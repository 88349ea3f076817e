#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

/// A descriptor of its own, closed at the end; negative where there is none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int opened) : number_(opened) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor() {
    if (number_ >= 0) {
      ::close(number_);
    }
  }

  explicit operator bool() const { return number_ >= 0; }
  int get() const { return number_; }

 private:
  int number_ = -1;
};

}  // namespace platform
