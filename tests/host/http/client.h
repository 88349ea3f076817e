#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>
#include <string_view>

#include "platform/support/file_descriptor.h"

namespace world {

/// A connection to a server on this machine, byte by byte.
class Client {
 public:
  explicit Client(int port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    EXPECT_EQ(::connect(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }

  void send(std::string_view bytes) const {
    EXPECT_EQ(::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }

  /// The bytes that arrive until they contain `end` or the server closes the connection.
  std::string receive(std::string_view end = {}) const {
    std::string all;
    char block[65536];
    while (end.empty() || all.find(end) == all.npos) {
      const ssize_t count = ::recv(socket_.get(), block, sizeof block, 0);
      if (count <= 0) {
        break;
      }
      all.append(block, static_cast<std::size_t>(count));
    }
    return all;
  }

 private:
  platform::FileDescriptor socket_;
};

}  // namespace world
