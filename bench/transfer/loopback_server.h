#pragma once

#include <sys/types.h>

#include <string>

namespace bench {

/// A server on loopback in another process, which answers a POST to `/SIZE` with that many bytes
/// and keeps its connections.
class LoopbackServer {
 public:
  LoopbackServer();
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  std::string url(std::size_t size) const;

 private:
  pid_t pid_ = -1;
  int port_ = 0;
};

}  // namespace bench
