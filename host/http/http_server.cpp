#include "host/http/http_server.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <set>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <nlohmann/json.hpp>

namespace host {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;
using Parser = http::request_parser<http::string_body>;
using Timer = asio::steady_timer;

constexpr std::uint32_t kHeadLimit = 16 << 10;
constexpr std::uint64_t kBodyLimit = 64 << 10;
/// The delay after a connection could not be accepted.
constexpr auto kAcceptDelay = std::chrono::milliseconds(100);
/// How long a connection that will be refused is given for its request.
constexpr auto kRefusalWait = std::chrono::seconds(1);
constexpr std::size_t kBlock = 64 << 10;

HttpRequest requestOf(const Parser::value_type& parsed) {
  HttpRequest request = {.method = std::string(parsed.method_string()),
                         .target = std::string(parsed.target()),
                         .headers = {},
                         .body = parsed.body()};
  for (const auto& field : parsed) {
    request.headers.emplace_back(field.name_string(), field.value());
  }
  return request;
}

bool isLoopback(const HttpRequest& request) {
  const std::string host = request.header("Host").value_or("");
  const std::string name = host.substr(0, host.find(':'));
  return name == "127.0.0.1" || name == "localhost";
}

/// Bytes of the body from `offset` on, which is less than its length.
std::string_view bodyAt(const HttpAnswer& answer, std::uint64_t offset) {
  static const std::string filling(kBlock, 'a');
  const std::string_view body = answer.body;
  if (offset < answer.fillingAt) {
    return body.substr(offset, answer.fillingAt - offset);
  }
  const std::uint64_t end = answer.fillingAt + answer.filling;
  return offset < end ? std::string_view(filling).substr(0, end - offset)
                      : body.substr(offset - answer.filling);
}

}  // namespace

std::optional<std::string> HttpRequest::header(std::string_view name) const {
  const auto found = std::ranges::find_if(headers, [&](const auto& field) {
    return beast::iequals(field.first, {name.data(), name.size()});
  });
  return found == headers.end() ? std::nullopt : std::optional(found->second);
}

bool HttpRequest::hasJSON() const {
  const std::string type = header("Content-Type").value_or("");
  return type.substr(0, type.find_first_of("; ")) == "application/json";
}

HttpAnswer contentAnswer(std::string_view type, std::string body, const char* caching) {
  return {.headers = {{"Content-Type", std::string(type)}, {"Cache-Control", caching}},
          .body = std::move(body)};
}

HttpAnswer jsonAnswer(std::string body, int status) {
  HttpAnswer answer = contentAnswer("application/json", std::move(body));
  answer.status = status;
  return answer;
}

HttpAnswer refusal(int status, const std::string& why) {
  // Messages may quote bytes that are not UTF-8.
  constexpr auto kReplace = nlohmann::json::error_handler_t::replace;
  return jsonAnswer(nlohmann::json{{"error", why}}.dump(-1, ' ', false, kReplace), status);
}

HttpAnswer wrongMethod(const std::string& allowed) {
  HttpAnswer answer = refusal(405, "the only allowed methods: " + allowed);
  answer.headers.emplace_back("Allow", allowed);
  return answer;
}

struct HttpServer::Impl {
  Impl(Handler taken, HttpLimits granted) : handler(std::move(taken)), limits(granted) {}

  asio::awaitable<void> accept() {
    for (;;) {
      beast::error_code error;
      tcp::socket socket =
          co_await acceptor.async_accept(asio::redirect_error(asio::use_awaitable, error));
      if (error == asio::error::operation_aborted) {
        co_return;
      }
      if (error) {
        // The process has no free descriptor until another connection ends.
        Timer timer(context, kAcceptDelay);
        co_await timer.async_wait(asio::redirect_error(asio::use_awaitable, error));
        continue;
      }
      beast::tcp_stream stream(std::move(socket));
      if (connections == limits.connections) {
        asio::co_spawn(context, refuse(std::move(stream)), asio::detached);
        continue;
      }
      ++connections;
      asio::co_spawn(context, converse(std::move(stream)), asio::detached);
    }
  }

  asio::awaitable<void> refuse(beast::tcp_stream stream) {
    // Closed with unread bytes, the connection would be reset, and the client might not see why.
    std::string request(kHeadLimit, '\0');
    beast::error_code ignored;
    stream.expires_after(kRefusalWait);
    co_await stream.async_read_some(asio::buffer(request),
                                    asio::redirect_error(asio::use_awaitable, ignored));
    const HttpAnswer answer = refusal(503, "too many connections");
    co_await send(stream, answer, false, false);
  }

  asio::awaitable<void> converse(beast::tcp_stream stream) {
    beast::flat_buffer buffer;
    for (bool more = true; more;) {
      Parser parser;
      parser.header_limit(kHeadLimit);
      parser.body_limit(kBodyLimit);
      beast::error_code error;
      stream.expires_after(limits.wait);
      co_await http::async_read(
          stream, buffer, parser, asio::redirect_error(asio::use_awaitable, error));
      const bool isHttp =
          error.category() == http::make_error_code(http::error::bad_method).category();
      if (error == http::error::end_of_stream || (error && !isHttp)) {
        break;  // The connection is closed, or was silent for too long.
      }
      more = !error && parser.get().keep_alive();
      // No temporaries around the waits: g++ 12 destroys them twice.
      const HttpRequest request = requestOf(parser.get());
      HttpAnswer answer;
      if (error) {
        const bool tooLong = error == http::error::body_limit || error == http::error::header_limit;
        answer = refusal(tooLong ? 413 : 400, "malformed HTTP request: " + error.message());
      } else if (!isLoopback(request)) {
        answer = refusal(403, "the Host header must be 127.0.0.1 or localhost");
      } else {
        answer = co_await answered(request);
      }
      if (answer.events && streams.size() == limits.streams) {
        answer = refusal(503, "too many streams of events");
      }
      const bool sent = co_await send(stream, answer, request.method == "HEAD", more);
      more = more && sent;
    }
    beast::error_code ignored;
    stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
    --connections;
  }

  /// Sends all bytes; false if the connection is closed or the client takes too long to read.
  asio::awaitable<bool> write(beast::tcp_stream& stream, std::string_view bytes) {
    beast::error_code error;
    stream.expires_after(limits.wait);
    co_await asio::async_write(stream,
                               asio::buffer(bytes.data(), bytes.size()),
                               asio::redirect_error(asio::use_awaitable, error));
    co_return !error;
  }

  /// The handler's answer, which may come later and on another thread.
  asio::awaitable<HttpAnswer> answered(const HttpRequest& request) {
    std::optional<HttpAnswer> answer;
    Timer waiting(context, Timer::time_point::max());
    handler(request, [this, &answer, &waiting](HttpAnswer given) {
      // The coroutine is suspended until this has run, so its variables are alive.
      asio::dispatch(context, [&answer, &waiting, given = std::move(given)]() mutable {
        answer = std::move(given);
        waiting.cancel();
      });
    });
    beast::error_code ignored;
    while (!answer) {
      co_await waiting.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    co_return *std::move(answer);
  }

  /// False if the connection is to be closed.
  asio::awaitable<bool> send(beast::tcp_stream& stream,
                             const HttpAnswer& answer,
                             bool isHead,
                             bool keepsAlive) {
    if (answer.delay > 0) {
      Timer timer(context);
      timer.expires_after(
          std::chrono::duration_cast<Timer::duration>(std::chrono::duration<double>(answer.delay)));
      co_await timer.async_wait(asio::use_awaitable);
    }
    const int status = answer.status;
    const bool isStream = answer.events && !isHead;
    const bool hasBody = !isStream && !isHead && status >= 200 && status != 204 && status != 304;
    const std::uint64_t whole = hasBody ? answer.body.size() + answer.filling : 0;
    const std::uint64_t end = answer.cut ? whole / 2 : whole;
    const bool closes = isStream || answer.cut || !keepsAlive;
    if (answer.sending) {
      answer.sending(end);
    }
    std::string head = "HTTP/1.1 " + std::to_string(status) + ' ';
    head += std::string(http::obsolete_reason(static_cast<http::status>(status)));
    for (const auto& [name, value] : answer.headers) {
      head.append("\r\n").append(name).append(": ").append(value);
    }
    head += closes ? "\r\nConnection: close" : "";
    head += hasBody ? "\r\nContent-Length: " + std::to_string(whole) : "";
    head += "\r\n\r\n";
    bool alive = co_await write(stream, head);
    for (std::uint64_t offset = 0; alive && offset < end;) {
      const std::string_view bytes = bodyAt(answer, offset).substr(0, end - offset);
      alive = co_await write(stream, bytes);
      offset += bytes.size();
    }
    if (alive && isStream) {
      co_await streamEvents(stream, answer.events);
    }
    co_return alive && !closes;
  }

  /// Returns when the client closes the connection.
  asio::awaitable<void> streamEvents(beast::tcp_stream& stream,
                                     const std::function<std::string()>& events) {
    Timer news(context, Timer::time_point::max());
    bool open = true;
    streams.insert(&news);
    // The client sends nothing more: a read returns when the connection is closed.
    char byte = 0;
    stream.socket().async_read_some(asio::buffer(&byte, 1),
                                    [&](const beast::error_code&, std::size_t) {
                                      open = false;
                                      news.cancel();
                                    });
    beast::error_code ignored;
    while (open) {
      const std::string text = events();
      if (text.empty()) {
        co_await news.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        continue;
      }
      const bool sent = co_await write(stream, text);
      if (!sent) {
        stream.close();
      }
    }
    streams.erase(&news);
  }

  asio::io_context context{1};
  tcp::acceptor acceptor{context};
  asio::signal_set signals{context};
  Handler handler;
  const HttpLimits limits;
  std::size_t connections = 0;
  std::set<Timer*> streams;
};

HttpServer::HttpServer(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {
}

HttpServer::~HttpServer() = default;

std::expected<std::unique_ptr<HttpServer>, std::string> HttpServer::listen(std::uint16_t port,
                                                                           Handler handler,
                                                                           HttpLimits limits) {
  auto impl = std::make_unique<Impl>(std::move(handler), limits);
  try {
    impl->acceptor = tcp::acceptor(impl->context, {asio::ip::address_v4::loopback(), port});
  } catch (const boost::system::system_error& error) {
    return std::unexpected("port " + std::to_string(port) +
                           " of 127.0.0.1 can't be opened: " + error.code().message());
  }
  return std::unique_ptr<HttpServer>(new HttpServer(std::move(impl)));
}

int HttpServer::port() const {
  return impl_->acceptor.local_endpoint().port();
}

void HttpServer::endOnSignals() {
  impl_->signals.add(SIGINT);
  impl_->signals.add(SIGTERM);
  impl_->signals.async_wait([this](const beast::error_code& error, int) {
    if (!error) {
      impl_->context.stop();
    }
  });
}

void HttpServer::serve() {
  asio::co_spawn(impl_->context, impl_->accept(), asio::detached);
  impl_->context.run();
}

void HttpServer::stop() {
  impl_->context.stop();
}

void HttpServer::post(std::function<void()> task) {
  asio::post(impl_->context, std::move(task));
}

void HttpServer::wake() {
  for (Timer* news : impl_->streams) {
    news->cancel();
  }
}

}  // namespace host
