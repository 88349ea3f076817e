#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace host {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

struct HttpRequest {
  std::string method;
  /// The path and the query.
  std::string target;
  HttpHeaders headers;
  std::string body;

  /// The first header of that name, in any letter case.
  std::optional<std::string> header(std::string_view name) const;
  std::string_view path() const { return std::string_view(target).substr(0, target.find('?')); }
  /// Whether the Content-Type header is JSON, with any parameters.
  bool hasJSON() const;
};

struct HttpAnswer {
  int status = 200;
  /// The server adds Content-Length and Connection.
  HttpHeaders headers = {};
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

HttpAnswer contentAnswer(std::string_view type, std::string body, const char* caching = "no-store");
/// An answer with a JSON text.
HttpAnswer jsonAnswer(std::string body, int status = 200);
/// An answer with the JSON text `{"error": why}`.
HttpAnswer refusal(int status, const std::string& why);
/// The refusal of other methods than these, such as "GET, HEAD".
HttpAnswer wrongMethod(const std::string& allowed);

struct HttpLimits {
  /// A connection beyond this number is answered with 503 and closed.
  std::size_t connections = 64;
  /// A stream of events lasts as long as a page is open; one beyond this number is answered with
  /// 503.
  std::size_t streams = 16;
  /// How long a request, or a part of an answer, may take. After that the connection is closed.
  std::chrono::milliseconds wait = std::chrono::seconds(30);
};

/// An HTTP/1.1 server on 127.0.0.1, on the one thread that calls `serve`.
///
/// A request must name 127.0.0.1 or localhost as its host, because a web page can make a browser
/// send requests to this server under another host name; others are answered with 403. A request
/// has at most 16 KiB of headers and 64 KiB of body. Malformed and longer ones are answered with
/// 400 or 413.
class HttpServer {
 public:
  using Reply = std::function<void(HttpAnswer)>;
  /// Called on the server's thread; calls `reply` once, now or later, on any thread.
  using Handler = std::function<void(const HttpRequest& request, Reply reply)>;

  /// Listens on a port, 0 for any free one; the error says why that fails.
  static std::expected<std::unique_ptr<HttpServer>, std::string> listen(std::uint16_t port,
                                                                        Handler handler,
                                                                        HttpLimits limits = {});
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

/// Serves on its own thread while it lives.
class HttpThread {
 public:
  explicit HttpThread(std::unique_ptr<HttpServer> server)
      : server_(std::move(server)), thread_([this] { server_->serve(); }) {}
  ~HttpThread() { server_->stop(); }
  HttpThread(const HttpThread&) = delete;
  HttpThread& operator=(const HttpThread&) = delete;

  int port() const { return server_->port(); }

 private:
  std::unique_ptr<HttpServer> server_;
  std::jthread thread_;
};

}  // namespace host
