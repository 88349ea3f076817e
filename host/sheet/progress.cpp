#include "host/sheet/progress.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>

namespace host {

namespace {

constexpr std::size_t kBarLength = 32;
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr const char* kClearLine = "\r\x1B[K";

}  // namespace

std::string progressLine(std::size_t done, std::size_t total, double secondsSoFar) {
  const std::size_t full = total == 0 ? kBarLength : done * kBarLength / total;
  std::string line = "[" + std::string(full, '#') + std::string(kBarLength - full, '.') + "] " +
                     std::to_string(done) + " of " + std::to_string(total);
  if (done > 0) {
    const double left =
        secondsSoFar * static_cast<double>(total - done) / static_cast<double>(done);
    line += ", " + std::to_string(std::lround(std::ceil(left))) + " s left";
  }
  return line;
}

Progress::Progress(std::size_t total) : onTerminal_(::isatty(STDERR_FILENO) == 1), total_(total) {
}

Progress::~Progress() {
  if (onTerminal_) {
    std::fputs(kClearLine, stderr);
  }
}

void Progress::show(std::size_t done) {
  const auto now = Clock::now();
  if (!onTerminal_ || now < next_) {
    return;
  }
  next_ = now + kInterval;
  const std::chrono::duration<double> soFar = now - start_;
  std::fprintf(stderr, "%s%s", kClearLine, progressLine(done, total_, soFar.count()).c_str());
}

}  // namespace host
