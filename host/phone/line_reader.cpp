#include "host/phone/line_reader.h"

#include <array>
#include <utility>

namespace host {

void LineReader::drain() {
  // The capacity of a pipe. A process that writes without end must not keep the host reading.
  constexpr std::size_t kPipe = 64 << 10;
  std::array<char, 4096> chunk;
  for (std::size_t seen = 0; seen < kPipe; seen += chunk.size()) {
    const ssize_t count = ::read(pipe_.get(), chunk.data(), chunk.size());
    if (count == 0) {
      // A closed pipe is always readable and would wake every later poll.
      pipe_ = {};
    }
    if (count <= 0) {
      return;
    }
    const auto length = static_cast<std::size_t>(count);
    if (length > room_) {
      if (std::exchange(room_, 0) > 0) {
        partial_.clear();
        lines_.emplace_back("(the log is full; later lines are dropped)");
      }
      continue;
    }
    room_ -= length;
    partial_.append(chunk.data(), length);
    std::size_t start = 0;
    for (std::size_t feed = partial_.find('\n'); feed != std::string::npos;
         feed = partial_.find('\n', start)) {
      lines_.push_back(partial_.substr(start, feed - start));
      start = feed + 1;
    }
    partial_.erase(0, start);
  }
}

std::vector<std::string> LineReader::take() {
  room_ = kCapacity;
  return std::exchange(lines_, {});
}

}  // namespace host
