#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/host/command_line.h"
#include "tests/host/http/client.h"

namespace {

using namespace world;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Words = std::vector<std::string>;

/// The running API server, with the given options.
class Api {
 public:
  explicit Api(const Words& options = {}) : child_(words(options)) {
    const std::string address = child_.line();
    EXPECT_THAT(address, StartsWith("http://127.0.0.1:"));
    EXPECT_THAT(address, EndsWith("/api/widgets/get_affirmation"));
    port_ = std::atoi(address.substr(17).c_str());
  }

  /// Sends bytes and reads until the connection is closed.
  std::string exchange(const std::string& bytes) const {
    const world::Client client(port_);
    client.send(bytes);
    return client.receive();
  }
  int port() const { return port_; }
  ChildProcess& child() { return child_; }

 private:
  static Words words(const Words& options) {
    Words all = {GLANCERY_BUILD "/glancery", "api", "--port", "0"};
    all.insert(all.end(), options.begin(), options.end());
    return all;
  }
  ChildProcess child_;
  int port_ = 0;
};

std::string request(const std::string& more = "Connection: close\r\n") {
  const std::string body =
      R"({"locale":"en","timezone":"UTC+0","appVersion":"4.47.3","uid":"u-1","user_os":"ios","os":"ios","internal":{"events":[]}})";
  return "POST /api/widgets/get_affirmation HTTP/1.1\r\nHost: localhost\r\nX-API-KEY:\r\n"
         "Content-Type: application/json; charset=utf-8\r\nContent-Length: " +
         std::to_string(body.size()) + "\r\n" + more + "\r\n" + body;
}

std::string headOf(const std::string& answer) {
  return answer.substr(0, answer.find("\r\n\r\n"));
}
std::string bodyOf(const std::string& answer) {
  return answer.substr(std::min(answer.find("\r\n\r\n") + 4, answer.size()));
}
std::size_t announced(const std::string& answer) {
  const std::size_t length = answer.find("Content-Length: ");
  return length == answer.npos ? 0 : std::stoul(answer.substr(length + 16));
}

TEST(ApiCommand, KeepsConnectionsAlive) {
  Api api;
  const std::string both = api.exchange(request("") + request());
  const std::string first = headOf(both);
  EXPECT_THAT(first, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(first, Not(HasSubstr("Connection: close")));
  const std::string second = bodyOf(both).substr(announced(both));
  EXPECT_EQ(bodyOf(second).size(), announced(second));
  EXPECT_EQ(bodyOf(second), bodyOf(both).substr(0, announced(both))) << "the same all day";
  const std::string line = "POST /api/widgets/get_affirmation 200 " +
                           std::to_string(announced(both)) + " bytes for u-1 en";
  EXPECT_EQ(api.child().line(), line);
  EXPECT_EQ(api.child().line(), line);

  for (const char* host : {"Host: evil.example:8788\r\n",
                           "Host: 127.0.0.1.evil.example\r\n",
                           "X-Forwarded-Host: localhost\r\n"}) {
    const std::string refused =
        api.exchange("GET / HTTP/1.1\r\n" + std::string(host) + "Connection: close\r\n\r\n");
    EXPECT_THAT(refused, StartsWith("HTTP/1.1 403 ")) << host;
    EXPECT_THAT(bodyOf(refused), HasSubstr("Host")) << host;
  }
  EXPECT_THAT(api.exchange("GET /api/widgets/get_affirmation HTTP/1.1\r\nHost: localhost\r\n"
                           "Connection: close\r\n\r\n"),
              AllOf(StartsWith("HTTP/1.1 405 "), HasSubstr("\r\nAllow: POST\r\n")));
  EXPECT_EQ(api.child().end(SIGTERM).status, 0);
}

TEST(ApiCommand, SimulatesFaults) {
  const std::string good = Api().exchange(request());
  EXPECT_THAT(Api({"--status", "503"}).exchange(request()), StartsWith("HTTP/1.1 503 "));
  EXPECT_THAT(Api({"--status", "600"}).exchange(request()), StartsWith("HTTP/1.1 600 "));
  EXPECT_EQ(bodyOf(Api({"--status", "204"}).exchange(request())), "");
  EXPECT_EQ(bodyOf(Api({"--delay", "0.01"}).exchange(request())), bodyOf(good));
  EXPECT_THAT(Api({"--key", "secret"}).exchange(request()), StartsWith("HTTP/1.1 401 "));

  const std::string cut = Api({"--cut"}).exchange(request());
  EXPECT_EQ(announced(cut), announced(good));
  EXPECT_EQ(bodyOf(cut), bodyOf(good).substr(0, bodyOf(good).size() / 2));

  const std::string bad = Api({"--bad-json"}).exchange(request());
  EXPECT_EQ(bodyOf(bad) + "}", bodyOf(good));
  EXPECT_EQ(announced(bad), bodyOf(bad).size());

  const std::string huge = Api({"--huge", "1000000"}).exchange(request());
  EXPECT_EQ(bodyOf(huge).size(), 1'000'000u);
  EXPECT_THAT(bodyOf(huge), EndsWith(bodyOf(good).substr(bodyOf(good).find("\"text\":\"") + 8)));
}

TEST(ApiCommand, NamesInvalidOptionsAndAPortInUse) {
  Api first;
  const auto api = [](const Words& options) {
    Words words = {"api"};
    words.insert(words.end(), options.begin(), options.end());
    return run(GLANCERY_BUILD "/glancery", words);
  };
  const ProgramEnd taken = api({"--port", std::to_string(first.port())});
  EXPECT_EQ(taken.status, 1);
  EXPECT_THAT(taken.err, HasSubstr("port " + std::to_string(first.port()) + " of 127.0.0.1"));
  for (const Words& wrong : {Words{"--status", "99"},
                             Words{"--delay", "-1"},
                             Words{"--port", "70000"},
                             Words{"--huge", "many"}}) {
    const ProgramEnd ran = api(wrong);
    EXPECT_EQ(ran.status, 2) << wrong[0];
    EXPECT_THAT(ran.err, HasSubstr(wrong[0]));
    EXPECT_THAT(ran.err, HasSubstr(wrong[1]));
  }
  EXPECT_EQ(first.child().end(SIGINT).status, 0);
}

}  // namespace
