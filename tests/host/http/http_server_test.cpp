#include "host/http/http_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <thread>

#include "tests/host/http/client.h"

namespace host {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using world::Client;

const std::string kHead = "GET /x HTTP/1.1\r\nHost: localhost\r\n";
const std::string kGood = kHead + "Connection: close\r\n\r\n";

/// A server that answers with the request's target, and at "/events" with a stream.
class Server {
 public:
  explicit Server(HttpLimits limits = {})
      : server_(HttpServer::listen(0, answer, limits).value()),
        thread_([this] { server_->serve(); }) {}
  ~Server() { server_->stop(); }

  Client connect() const { return Client(server_->port()); }
  std::string exchange(const std::string& bytes) const {
    const Client client = connect();
    client.send(bytes);
    return client.receive();
  }

 private:
  static void answer(const HttpRequest& request, const HttpServer::Reply& reply) {
    HttpAnswer answer = contentAnswer("text/plain", request.target);
    if (request.path() == "/events") {
      answer.events = [sent = false]() mutable {
        return std::exchange(sent, true) ? "" : "data: begun\n\n";
      };
    }
    reply(std::move(answer));
  }

  std::unique_ptr<HttpServer> server_;
  std::jthread thread_;
};

TEST(HttpServer, AnswersEveryRequestWithItsStatus) {
  struct Row {
    const char* name;
    std::string request;
    const char* begin;
  };
  const std::string post = "POST / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";
  const Row kRows[] = {
      {"good", kGood, "HTTP/1.1 200 "},
      {"noMethod", " / HTTP/1.1\r\n\r\n", "HTTP/1.1 400 "},
      {"noTarget", "GET HTTP/1.1\r\n\r\n", "HTTP/1.1 400 "},
      {"otherProtocol", "GET / FTP/1.1\r\n\r\n", "HTTP/1.1 400 "},
      {"TLS", std::string("\x16\x03\x01\x02\x00\x01\r\n\r\n", 10), "HTTP/1.1 400 "},
      {"headerWithoutAColon", kHead + "nonsense\r\n\r\n", "HTTP/1.1 400 "},
      {"NULInAHeader", kHead + std::string("X: a\0b\r\n\r\n", 10), "HTTP/1.1 400 "},
      {"longHead", kHead + "X: " + std::string(20'000, 'x') + "\r\n\r\n", "HTTP/1.1 413 "},
      {"lengthThatIsNoNumber", post + "Content-Length: ten\r\n\r\n", "HTTP/1.1 400 "},
      {"negativeLength", post + "Content-Length: -1\r\n\r\n", "HTTP/1.1 400 "},
      {"twoLengths", post + "Content-Length: 1\r\nContent-Length: 2\r\n\r\n", "HTTP/1.1 400 "},
      {"longestBody",
       post + "Content-Length: 65536\r\n\r\n" + std::string(65536, 'x'),
       "HTTP/1.1 200 "},
      {"longBody", post + "Content-Length: 65537\r\n\r\n", "HTTP/1.1 413 "},
      {"longChunks",
       post + "Transfer-Encoding: chunked\r\n\r\n10001\r\n" + std::string(65537, 'x'),
       "HTTP/1.1 413 "},
      {"badChunk", post + "Transfer-Encoding: chunked\r\n\r\nxyz\r\n", "HTTP/1.1 400 "},
      {"otherHost",
       "GET / HTTP/1.1\r\nHost: evil.example\r\nConnection: close\r\n\r\n",
       "HTTP/1.1 403 "},
  };
  const Server server;
  for (const Row& row : kRows) {
    EXPECT_THAT(server.exchange(row.request), StartsWith(row.begin)) << row.name;
  }
}

TEST(HttpServer, ClosesConnectionsThatTakeTooLong) {
  const Server server({.wait = std::chrono::milliseconds(50)});
  for (const std::string& begin : {std::string(), std::string("GET"), kHead}) {
    const Client client = server.connect();
    client.send(begin);
    EXPECT_EQ(client.receive(), "") << begin;
  }
}

TEST(HttpServer, RefusesConnectionsBeyondItsLimit) {
  const Server server({.connections = 2});
  std::deque<Client> open;
  for (int i = 0; i < 2; ++i) {
    open.push_back(server.connect());
    open.back().send(kHead + "\r\n");
    EXPECT_THAT(open.back().receive("/x"), StartsWith("HTTP/1.1 200 "));
  }
  const std::string refused = server.exchange(kGood);
  EXPECT_THAT(refused, StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(refused, HasSubstr("too many connections"));
  open.front().send(kGood);
  open.front().receive();
  EXPECT_THAT(server.exchange(kGood), StartsWith("HTTP/1.1 200 ")) << "one has ended";
}

TEST(HttpServer, RefusesStreamsBeyondItsLimit) {
  const Server server({.streams = 1});
  const std::string events = "GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n";
  const Client first = server.connect();
  first.send(events);
  EXPECT_THAT(first.receive("begun"), HasSubstr("data: begun"));
  const Client second = server.connect();
  second.send(events);
  const std::string refused = second.receive("events\"");
  EXPECT_THAT(refused, StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(refused, HasSubstr("too many streams of events"));
}

}  // namespace
}  // namespace host
