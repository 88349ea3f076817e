#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/http/http_request.h"

namespace host {

struct HttpAnswer {
  int status = 200;
  /// The server adds Content-Length and Connection.
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string body = {};

  /// Makes the answer a stream of server-sent events: returns the new events, or an empty text.
  /// Called at once and after every `HttpServer::wake`, until the client closes the connection.
  std::function<std::string()> events = {};

  // Faults, for tests of clients.
  /// Seconds before the answer.
  double delay = 0;
  /// How many bytes are inserted at offset `fillingAt` of the body; may exceed the memory.
  std::uint64_t filling = 0;
  std::size_t fillingAt = 0;
  /// Closes the connection after half of the body.
  bool cut = false;
  /// Called with the number of bytes of the body before they are sent.
  std::function<void(std::uint64_t bytes)> sending = {};
};

/// An HTTP/1.1 server on 127.0.0.1, on the one thread that calls `serve`.
///
/// A request has at most 16 KiB of headers and 64 KiB of body. Malformed and longer ones are
/// answered with 400 or 413 and a JSON text. A connection that is silent for 30 seconds is closed.
class HttpServer {
 public:
  using Reply = std::function<void(HttpAnswer)>;
  /// Called on the server's thread; calls `reply` once, now or later, on any thread.
  using Handler = std::function<void(const HttpRequest& request, Reply reply)>;

  /// Listens on a port, 0 for any free one; the error says why that fails.
  static std::expected<std::unique_ptr<HttpServer>, std::string> listen(std::uint16_t port,
                                                                        Handler handler);
  ~HttpServer();

  int port() const;
  /// Makes SIGINT and SIGTERM stop this server, from now on. For one server of a process.
  void endOnSignals();
  /// Returns when the server is stopped.
  void serve();

  // Safe from any thread.
  void stop();
  /// Runs `task` on the server's thread.
  void post(std::function<void()> task);
  /// Calls `events` of every stream. Only on the server's thread.
  void wake();

 private:
  struct Impl;
  explicit HttpServer(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace host
