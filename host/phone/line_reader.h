#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/support/file_descriptor.h"

namespace host {

/// Reads a pipe into lines without blocking. Used by one thread.
class LineReader {
 public:
  /// `pipe` must not block.
  explicit LineReader(platform::FileDescriptor pipe = {}) : pipe_(std::move(pipe)) {}

  /// -1 once the other end is closed.
  int descriptor() const { return pipe_.get(); }
  /// Reads what is there. Of the lines that wait to be taken 16 MiB are kept, later ones dropped.
  void drain();
  /// The lines so far, without their line feeds.
  const std::vector<std::string>& lines() const { return lines_; }
  std::vector<std::string> take();
  /// The end of the output if no line feed follows it.
  const std::string& partial() const { return partial_; }

 private:
  static constexpr std::size_t kCapacity = 16 << 20;

  platform::FileDescriptor pipe_;
  std::string partial_;
  std::vector<std::string> lines_;
  std::size_t room_ = kCapacity;
};

}  // namespace host
