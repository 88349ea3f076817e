#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "platform/support/file_descriptor.h"
#include "platform/support/require.h"

namespace host {

/// A port of 127.0.0.1 that connections of other programs do not take while this lives. It refuses
/// connections until a server listens on it.
class ReservedPort {
 public:
  /// Any free port for 0.
  explicit ReservedPort(std::uint16_t wanted = 0)
      : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int yes = 1;
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(wanted);
    socklen_t size = sizeof address;
    auto* name = reinterpret_cast<sockaddr*>(&address);
    if (::bind(socket_.get(), name, size) != 0 || ::getsockname(socket_.get(), name, &size) != 0) {
      platform::fatalError("a port on loopback");
    }
    number_ = ntohs(address.sin_port);
  }

  std::uint16_t number() const { return number_; }
  /// The bound socket.
  int descriptor() const { return socket_.get(); }

 private:
  platform::FileDescriptor socket_;
  std::uint16_t number_ = 0;
};

}  // namespace host
