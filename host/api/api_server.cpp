#include "host/api/api_server.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <utility>

#include <boost/asio/awaitable.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include "host/api/affirmation_api.h"
#include "platform/foundation/utf8.h"

namespace host {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
using tcp = asio::ip::tcp;
using Parser = http::request_parser<http::string_body>;

constexpr std::uint32_t kHeadLimit = 16 << 10;
constexpr std::uint64_t kBodyLimit = 64 << 10;
constexpr auto kPatience = std::chrono::seconds(30);
constexpr std::size_t kBlock = 64 << 10;

/// A body that may be far larger than memory: `filler` letters stand between two texts.
struct Payload {
  std::string start;
  std::uint64_t filler = 0;
  std::string rest = {};
  std::uint64_t size() const { return start.size() + filler + rest.size(); }
};

Payload payloadOf(std::string body, bool good, const ApiSettings& settings) {
  if (settings.badJSON) {
    body.pop_back();  // Its closing bracket.
  }
  const std::uint64_t length = body.size();
  const std::string opening = "\"text\":\"";
  const std::size_t text = body.find(opening);
  if (!good || !settings.huge || *settings.huge <= length || text == body.npos) {
    return {std::move(body)};
  }
  const std::size_t split = text + opening.size();
  return {body.substr(0, split), *settings.huge - length, body.substr(split)};
}

std::optional<std::string> header(const Parser::value_type& request, std::string_view name) {
  const auto found = request.find({name.data(), name.size()});
  return found == request.end() ? std::nullopt : std::optional(std::string(found->value()));
}

/// Bytes from outside as they may stand in a line of the log.
std::string printable(std::string_view text) {
  std::string safe = platform::excerpt(text);
  std::ranges::replace_if(
      safe,
      [](char letter) { return static_cast<unsigned char>(letter) < ' ' || letter == 0x7F; },
      '?');
  return safe;
}

class ApiServer {
 public:
  ApiServer(const ApiSettings& settings, const std::function<void(const std::string&)>& log)
      : settings_(settings), log_(log) {}

  asio::awaitable<void> accept(tcp::acceptor& acceptor) {
    for (;;) {
      beast::error_code error;
      tcp::socket socket =
          co_await acceptor.async_accept(asio::redirect_error(asio::use_awaitable, error));
      if (error == asio::error::operation_aborted) {
        co_return;
      }
      if (!error) {
        asio::co_spawn(
            acceptor.get_executor(), serve(beast::tcp_stream(std::move(socket))), asio::detached);
      }
    }
  }

 private:
  asio::awaitable<void> serve(beast::tcp_stream stream) {
    beast::flat_buffer buffer;
    for (bool more = true; more;) {
      Parser parser;
      parser.header_limit(kHeadLimit);
      parser.body_limit(kBodyLimit);
      beast::error_code error;
      stream.expires_after(kPatience);
      co_await http::async_read(
          stream, buffer, parser, asio::redirect_error(asio::use_awaitable, error));
      if (error && error.category() != http::make_error_code(http::error::bad_method).category()) {
        break;  // The connection is gone or has been silent.
      }
      if (error == http::error::end_of_stream) {
        break;
      }
      more = !error && parser.get().keep_alive();
      const ApiAnswer answer = error ? malformed(error) : respond(parser.get());
      more = co_await send(stream, answer, parser.get(), more) && more;
    }
    beast::error_code ignored;
    stream.socket().shutdown(tcp::socket::shutdown_send, ignored);
  }

  static ApiAnswer malformed(const beast::error_code& error) {
    const bool tooLong = error == http::error::body_limit || error == http::error::header_limit;
    return {tooLong ? 413 : 400,
            "{\"error\":\"the request is no HTTP that is taken here: " + error.message() + "\"}"};
  }

  ApiAnswer respond(const Parser::value_type& request) const {
    return answerOf({.method = std::string(request.method_string()),
                     .target = std::string(request.target()),
                     .host = header(request, "Host"),
                     .contentType = header(request, "Content-Type"),
                     .key = header(request, "X-API-KEY"),
                     .body = request.body()},
                    settings_.key,
                    platform::Date::now());
  }

  /// False where the connection ends with it.
  asio::awaitable<bool> send(beast::tcp_stream& stream,
                             ApiAnswer answer,
                             const Parser::value_type& request,
                             bool keepsAlive) {
    const bool good = answer.status == 200;
    const int status = good ? settings_.status.value_or(200) : answer.status;
    if (settings_.delay > 0) {
      asio::steady_timer timer(stream.get_executor());
      timer.expires_after(std::chrono::duration_cast<std::chrono::steady_clock::duration>(
          std::chrono::duration<double>(settings_.delay)));
      co_await timer.async_wait(asio::use_awaitable);
    }
    const bool hasBody =
        status >= 200 && status != 204 && status != 304 && request.method() != http::verb::head;
    const Payload payload = payloadOf(std::move(answer.body), good, settings_);
    const std::uint64_t whole = hasBody ? payload.size() : 0;
    const std::uint64_t sent = settings_.cut ? whole / 2 : whole;
    log_(printable(request.method_string().to_string()) + ' ' +
         printable(request.target().to_string()) + ' ' + std::to_string(status) + ' ' +
         std::to_string(sent) + " bytes" + (good ? " for " + printable(answer.note) : ""));

    std::string head =
        "HTTP/1.1 " + std::to_string(status) + ' ' +
        std::string(http::obsolete_reason(http::int_to_status(static_cast<unsigned>(status)))) +
        "\r\nContent-Type: application/json\r\nCache-Control: no-store\r\n";
    head += status == 405 ? "Allow: POST\r\n" : "";
    head += keepsAlive && !settings_.cut ? "" : "Connection: close\r\n";
    head += hasBody ? "Content-Length: " + std::to_string(whole) + "\r\n" : "";
    co_return co_await write(stream, head + "\r\n", head.size() + 2) &&
        co_await writePayload(stream, payload, sent) && !settings_.cut;
  }

  static asio::awaitable<bool> writePayload(beast::tcp_stream& stream,
                                            const Payload& payload,
                                            std::uint64_t left) {
    const auto take = [&left](std::uint64_t length) {
      const std::uint64_t taken = std::min(left, length);
      left -= taken;
      return taken;
    };
    bool alive = co_await write(stream, payload.start, take(payload.start.size()));
    const std::string block(std::min<std::uint64_t>(payload.filler, kBlock), 'a');
    for (std::uint64_t filler = take(payload.filler); alive && filler > 0;) {
      const std::uint64_t length = std::min<std::uint64_t>(filler, block.size());
      alive = co_await write(stream, block, length);
      filler -= length;
    }
    co_return alive&& co_await write(stream, payload.rest, take(payload.rest.size()));
  }

  static asio::awaitable<bool> write(beast::tcp_stream& stream,
                                     const std::string& bytes,
                                     std::uint64_t count) {
    beast::error_code error;
    stream.expires_after(kPatience);
    co_await asio::async_write(stream,
                               asio::buffer(bytes.data(), count),
                               asio::redirect_error(asio::use_awaitable, error));
    co_return !error;
  }

  const ApiSettings& settings_;
  const std::function<void(const std::string&)>& log_;
};

}  // namespace

std::expected<void, std::string> serveApi(const ApiSettings& settings,
                                          const std::function<void(int port)>& ready,
                                          const std::function<void(const std::string&)>& log) {
  asio::io_context context(1);
  tcp::acceptor acceptor(context);
  const tcp::endpoint place(asio::ip::address_v4::loopback(), settings.port);
  beast::error_code error;
  acceptor.open(place.protocol(), error);
  acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  acceptor.bind(place, error);
  if (!error) {
    acceptor.listen(asio::socket_base::max_listen_connections, error);
  }
  if (error) {
    return std::unexpected("the port " + std::to_string(settings.port) +
                           " of 127.0.0.1 can't be served: " + error.message());
  }
  asio::signal_set signals(context, SIGINT, SIGTERM);
  signals.async_wait([&](const beast::error_code&, int) { context.stop(); });
  ApiServer server(settings, log);
  asio::co_spawn(context, server.accept(acceptor), asio::detached);
  ready(acceptor.local_endpoint().port());
  context.run();
  return {};
}

}  // namespace host
