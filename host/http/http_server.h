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
  /// Without those of length and connection, which are the server's own.
  std::vector<std::pair<std::string, std::string>> headers = {};
  std::string body = {};

  /// For a stream of server-sent events: gives what is new, an empty text when nothing is. Asked at
  /// once and after every `HttpServer::wake`, until the other end has enough.
  std::function<std::string()> events = {};

  // What a server in trouble does.
  /// Seconds before the answer.
  double delay = 0;
  /// Letters of filling at that place of the body; there may be more than memory holds.
  std::uint64_t filling = 0;
  std::size_t fillingAt = 0;
  /// Half of the body, then the end of the connection.
  bool cut = false;
  /// Told how many bytes of the body will be sent.
  std::function<void(std::uint64_t bytes)> sending = {};
};

/// An HTTP/1.1 server on 127.0.0.1, on the one thread that calls `serve`.
///
/// Requests have at most 16 KiB of head and 64 KiB of body; what is no such request is answered
/// with 400 or 413 and a JSON text. A connection that is silent for 30 seconds is ended.
class HttpServer {
 public:
  using Reply = std::function<void(HttpAnswer)>;
  /// Called on the server's thread; calls `reply` once, at once or later, on any thread.
  using Handler = std::function<void(const HttpRequest& request, Reply reply)>;

  /// Listens on that port, 0 for any; the error says why that can't be.
  static std::expected<std::unique_ptr<HttpServer>, std::string> listen(std::uint16_t port,
                                                                        Handler handler);
  ~HttpServer();

  int port() const;
  /// From now on a signal that asks the process to end (interrupt, terminate) stops this server.
  /// For one server of a process, before its address is told: whoever knows that may send one.
  void endOnSignals();
  /// Serves until it is stopped.
  void serve();

  // From any thread.
  void stop();
  /// Has `task` run on the server's thread.
  void post(std::function<void()> task);
  /// Has every stream of events asked for what is new. Only on the server's thread.
  void wake();

 private:
  struct Impl;
  explicit HttpServer(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace host
