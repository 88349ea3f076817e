#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/http/reserved_port.h"
#include "platform/support/require.h"

namespace world {

/// The answer to a request, and what follows it.
struct Reply {
  enum class After { keep, close, hang };
  std::string bytes;
  After after = After::close;
};

inline Reply answer(const std::string& head,
                    const std::string& body = "",
                    Reply::After after = Reply::After::close) {
  return {
      "HTTP/1.1 " + head + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body,
      after};
}

/// A server on loopback that answers by a script, with a thread for each connection.
class ScriptedServer {
 public:
  using Script = std::function<Reply(std::size_t count, const std::string& request)>;

  explicit ScriptedServer(Script script, std::uint16_t port = 0)
      : script_(std::move(script)), socket_(port) {
    if (::listen(socket_.descriptor(), 64) != 0) {
      platform::fatalError("a server on loopback");
    }
    acceptor_ = std::thread([this] { accept(); });
  }
  /// Sends the replies in order, and the last one to all later requests.
  explicit ScriptedServer(std::vector<Reply> replies, std::uint16_t port = 0)
      : ScriptedServer(
            [replies = std::move(replies)](std::size_t count, const std::string&) {
              return replies[std::min(count, replies.size() - 1)];
            },
            port) {}
  ~ScriptedServer() {
    {
      const std::lock_guard lock(mutex_);
      over_ = true;
      ::shutdown(socket_.descriptor(), SHUT_RDWR);
      for (const int connection : connections_) {
        ::shutdown(connection, SHUT_RDWR);
      }
    }
    changed_.notify_all();
    acceptor_.join();  // It adds to `threads_`.
    for (std::thread& thread : threads_) {
      thread.join();
    }
  }

  std::uint16_t port() const { return socket_.number(); }
  std::string url(const std::string& path = "/") const {
    return "http://127.0.0.1:" + std::to_string(port()) + path;
  }
  /// The requests so far, byte for byte.
  std::vector<std::string> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }
  void awaitRequests(std::size_t count) const {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return requests_.size() >= count; });
  }

 private:
  void accept() {
    for (;;) {
      const int connection = ::accept4(socket_.descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
      const std::lock_guard lock(mutex_);
      if (connection < 0 || over_) {
        ::close(connection);
        return;
      }
      connections_.push_back(connection);
      threads_.emplace_back([this, connection] { serve(connection); });
    }
  }

  /// Reads one request with its body; empty at the end of the connection.
  static std::string read(int connection) {
    std::string bytes;
    std::size_t wanted = std::string::npos;
    while (bytes.size() < wanted) {
      char block[65536];
      const ssize_t count = ::recv(connection, block, sizeof block, 0);
      if (count <= 0) {
        return "";
      }
      bytes.append(block, static_cast<std::size_t>(count));
      const std::size_t end = bytes.find("\r\n\r\n");
      if (end != std::string::npos && wanted == std::string::npos) {
        const std::size_t length = bytes.find("Content-Length: ");
        wanted = end + 4 + (length < end ? std::stoul(bytes.substr(length + 16)) : 0);
      }
    }
    return bytes;
  }

  void serve(int connection) {
    for (std::string request = read(connection); !request.empty(); request = read(connection)) {
      std::size_t count = 0;
      {
        const std::lock_guard lock(mutex_);
        count = requests_.size();
        requests_.push_back(request);
      }
      const Reply reply = script_(count, request);
      send(connection, reply.bytes);
      changed_.notify_all();
      if (reply.after == Reply::After::close) {
        break;
      }
      if (reply.after == Reply::After::hang) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return over_; });
      }
    }
    const std::lock_guard lock(mutex_);
    std::erase(connections_, connection);
    ::close(connection);
  }

  static void send(int connection, std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count <= 0) {
        return;
      }
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  Script script_;
  host::ReservedPort socket_;
  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  bool over_ = false;
  std::vector<std::string> requests_;
  std::vector<int> connections_;
  std::thread acceptor_;
  std::vector<std::thread> threads_;
};

}  // namespace world
