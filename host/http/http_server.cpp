#include "host/http/http_server.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <set>

#include <boost/asio/async_result.hpp>
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
constexpr auto kIdleTimeout = std::chrono::seconds(30);
/// The delay after a connection could not be accepted.
constexpr auto kAcceptDelay = std::chrono::milliseconds(100);
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

HttpAnswer malformed(const beast::error_code& error) {
  const bool tooLong = error == http::error::body_limit || error == http::error::header_limit;
  return {.status = tooLong ? 413 : 400,
          .headers = {{"Content-Type", "application/json"}, {"Cache-Control", "no-store"}},
          .body = R"({"error":"malformed HTTP request: )" + error.message() + "\"}"};
}

std::string reasonOf(int status) {
  return std::string(http::obsolete_reason(http::int_to_status(static_cast<unsigned>(status))));
}

/// Whether answers with this status have a body.
bool hasBody(int status, http::verb method) {
  return status >= 200 && status != 204 && status != 304 && method != http::verb::head;
}

/// Sends all bytes; false if the connection is closed or has been silent for too long.
asio::awaitable<bool> write(beast::tcp_stream& stream, std::string_view bytes) {
  beast::error_code error;
  stream.expires_after(kIdleTimeout);
  co_await asio::async_write(stream,
                             asio::buffer(bytes.data(), bytes.size()),
                             asio::redirect_error(asio::use_awaitable, error));
  co_return !error;
}

asio::awaitable<bool> writeBody(beast::tcp_stream& stream,
                                const HttpAnswer& answer,
                                std::uint64_t left) {
  const auto take = [&left](std::uint64_t length) {
    const std::uint64_t taken = std::min(left, length);
    left -= taken;
    return taken;
  };
  const std::string_view body = answer.body;
  const std::size_t split = std::min(answer.fillingAt, body.size());
  bool alive = co_await write(stream, body.substr(0, take(split)));
  const std::string block(std::min<std::uint64_t>(answer.filling, kBlock), 'a');
  for (std::uint64_t filling = take(answer.filling); alive && filling > 0;) {
    const std::uint64_t length = std::min<std::uint64_t>(filling, block.size());
    alive = co_await write(stream, std::string_view(block).substr(0, length));
    filling -= length;
  }
  if (alive) {
    alive = co_await write(stream, body.substr(split, take(body.size() - split)));
  }
  co_return alive;
}

}  // namespace

struct HttpServer::Impl {
  explicit Impl(Handler taken) : handler(std::move(taken)) {}

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
      asio::co_spawn(context, converse(beast::tcp_stream(std::move(socket))), asio::detached);
    }
  }

  asio::awaitable<void> converse(beast::tcp_stream stream) {
    beast::flat_buffer buffer;
    for (bool more = true; more;) {
      Parser parser;
      parser.header_limit(kHeadLimit);
      parser.body_limit(kBodyLimit);
      beast::error_code error;
      stream.expires_after(kIdleTimeout);
      co_await http::async_read(
          stream, buffer, parser, asio::redirect_error(asio::use_awaitable, error));
      if (error && error.category() != http::make_error_code(http::error::bad_method).category()) {
        break;  // The connection is closed, or was silent for too long.
      }
      if (error == http::error::end_of_stream) {
        break;
      }
      more = !error && parser.get().keep_alive();
      // No temporaries around the waits: g++ 12 destroys them twice.
      HttpAnswer answer = malformed(error);
      if (!error) {
        const HttpRequest request = requestOf(parser.get());
        answer = co_await answered(request);
      }
      const bool sent = co_await send(stream, answer, parser.get().method(), more);
      more = more && sent;
    }
    beast::error_code ignored;
    stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
  }

  /// The handler's answer, which may come later and on another thread.
  asio::awaitable<HttpAnswer> answered(const HttpRequest& request) {
    HttpAnswer answer;
    Timer waiting(context, Timer::time_point::max());
    bool here = false;
    handler(request, [this, &answer, &waiting, &here](HttpAnswer given) {
      // The coroutine is suspended until this has run, so its variables are alive.
      asio::dispatch(context, [&answer, &waiting, &here, given = std::move(given)]() mutable {
        answer = std::move(given);
        here = true;
        waiting.cancel();
      });
    });
    beast::error_code ignored;
    while (!here) {
      co_await waiting.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    co_return answer;
  }

  /// False if the connection is to be closed.
  asio::awaitable<bool> send(beast::tcp_stream& stream,
                             const HttpAnswer& answer,
                             http::verb method,
                             bool keepsAlive) {
    if (answer.delay > 0) {
      Timer timer(context);
      timer.expires_after(
          std::chrono::duration_cast<Timer::duration>(std::chrono::duration<double>(answer.delay)));
      co_await timer.async_wait(asio::use_awaitable);
    }
    std::string head =
        "HTTP/1.1 " + std::to_string(answer.status) + ' ' + reasonOf(answer.status) + "\r\n";
    for (const auto& [name, value] : answer.headers) {
      head.append(name).append(": ").append(value).append("\r\n");
    }
    if (answer.events && method != http::verb::head) {
      head += "Connection: close\r\n\r\n";
      if (co_await write(stream, head)) {
        co_await streamEvents(stream, answer.events);
      }
      co_return false;
    }
    const bool some = hasBody(answer.status, method);
    const std::uint64_t whole = some ? answer.body.size() + answer.filling : 0;
    const std::uint64_t sent = answer.cut ? whole / 2 : whole;
    if (answer.sending) {
      answer.sending(sent);
    }
    head += keepsAlive && !answer.cut ? "" : "Connection: close\r\n";
    head += some ? "Content-Length: " + std::to_string(whole) + "\r\n\r\n" : "\r\n";
    if (!co_await write(stream, head)) {
      co_return false;
    }
    const bool alive = co_await writeBody(stream, answer, sent);
    co_return alive && !answer.cut;
  }

  /// Returns when the client closes the connection.
  asio::awaitable<void> streamEvents(beast::tcp_stream& stream,
                                     const std::function<std::string()>& events) {
    Timer news(context, Timer::time_point::max());
    bool open = true;
    bool watching = true;
    streams.insert(&news);
    // The client sends nothing more: a read returns when it closes the connection.
    char byte = 0;
    stream.socket().async_read_some(asio::buffer(&byte, 1),
                                    [&](const beast::error_code&, std::size_t) {
                                      open = false;
                                      watching = false;
                                      news.cancel();
                                    });
    beast::error_code ignored;
    while (open) {
      const std::string text = events();
      if (text.empty()) {
        co_await news.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
      } else {
        open = co_await write(stream, text) && open;
      }
    }
    streams.erase(&news);
    stream.socket().cancel(ignored);
    while (watching) {
      co_await news.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
  }

  asio::io_context context{1};
  tcp::acceptor acceptor{context};
  asio::signal_set signals{context};
  Handler handler;
  std::set<Timer*> streams;
};

HttpServer::HttpServer(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {
}

HttpServer::~HttpServer() = default;

std::expected<std::unique_ptr<HttpServer>, std::string> HttpServer::listen(std::uint16_t port,
                                                                           Handler handler) {
  auto impl = std::make_unique<Impl>(std::move(handler));
  const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), port);
  beast::error_code error;
  impl->acceptor.open(endpoint.protocol(), error);
  impl->acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  impl->acceptor.bind(endpoint, error);
  if (!error) {
    impl->acceptor.listen(asio::socket_base::max_listen_connections, error);
  }
  if (error) {
    return std::unexpected("port " + std::to_string(port) +
                           " of 127.0.0.1 can't be opened: " + error.message());
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
