#include "bench/transfer/loopback_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <thread>

#include "platform/support/require.h"

namespace bench {

namespace {

bool send(int connection, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count <= 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// The end of the first request in `bytes`, or npos if it is incomplete.
std::size_t endOfRequest(const std::string& bytes) {
  const std::size_t head = bytes.find("\r\n\r\n");
  const std::size_t length = bytes.find("Content-Length: ");
  if (head == bytes.npos) {
    return bytes.npos;
  }
  const std::size_t body =
      length < head ? std::strtoul(bytes.c_str() + length + 16, nullptr, 10) : 0;
  return bytes.size() >= head + 4 + body ? head + 4 + body : bytes.npos;
}

void serve(int connection) {
  const std::string block(std::size_t{1} << 16, 'x');
  std::string bytes;
  char part[4096];
  for (ssize_t count = 0; (count = ::recv(connection, part, sizeof part, 0)) > 0;) {
    bytes.append(part, static_cast<std::size_t>(count));
    for (std::size_t end = 0; (end = endOfRequest(bytes)) != bytes.npos; bytes.erase(0, end)) {
      std::size_t left = std::strtoul(bytes.c_str() + bytes.find('/') + 1, nullptr, 10);
      std::string head = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(left) + "\r\n\r\n";
      const std::size_t first = std::min(left, block.size());
      bool alive = send(connection, head.append(block, 0, first));
      for (left -= first; alive && left > 0;) {
        const std::size_t next = std::min(left, block.size());
        alive = send(connection, std::string_view(block).substr(0, next));
        left -= next;
      }
    }
  }
  ::close(connection);
}

}  // namespace

LoopbackServer::LoopbackServer() {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* name = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener, name, size) != 0 || ::listen(listener, 64) != 0 ||
      ::getsockname(listener, name, &size) != 0) {
    platform::fatalError("a server on loopback");
  }
  port_ = ntohs(address.sin_port);
  pid_ = ::fork();
  if (pid_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
      const int connection = ::accept(listener, nullptr, nullptr);
      const int yes = 1;
      ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
      std::thread(serve, connection).detach();
    }
  }
  ::close(listener);
}

LoopbackServer::~LoopbackServer() {
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
}

std::string LoopbackServer::url(std::size_t size) const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/" + std::to_string(size);
}

}  // namespace bench
