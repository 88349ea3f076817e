#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/host/transfer/transfer_world.h"

namespace host {
namespace {

using namespace world;
using enum Reply::After;

std::string chunked(const std::string& chunks) {
  return "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + chunks;
}

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (; count > 0; --count) {
    all += text;
  }
  return all;
}

struct Case {
  const char* name;
  /// In order; the last one also answers all later requests.
  std::vector<Reply> replies;
  std::string end;
  std::string body = "";
  /// Failed attempts, and all requests that the server received.
  int failed = 0;
  std::size_t requests = 1;
  friend void PrintTo(const Case& row, std::ostream* out) { *out << row.name; }
};

const Reply kGood = answer("200 OK", "hello");

// clang-format off
const Case kCases[] = {
    {"plain", {kGood}, "200", "hello"},
    {"onAConnectionThatStaysOpen", {answer("200 OK", "hello", hang)}, "200", "hello"},
    {"withoutALength", {{"HTTP/1.1 200 OK\r\n\r\nhello"}}, "200", "hello"},
    {"version1_0", {{"HTTP/1.0 200 OK\r\n\r\nhello"}}, "200", "hello"},
    {"withoutAReason", {answer("200", "hello")}, "200", "hello"},
    {"empty", {answer("200 OK")}, "200"},
    {"noContent", {{"HTTP/1.1 204 No Content\r\n\r\n", hang}}, "204"},
    {"chunked", {{chunked("2\r\nhe\r\n3\r\nllo\r\n0\r\n\r\n"), hang}}, "200", "hello"},
    {"chunkedWithATrailer", {{chunked("5\r\nhello\r\n0\r\nX-Sum: 1\r\n\r\n"), hang}}, "200", "hello"},
    {"withZeroBytes", {answer("200 OK", std::string("\0\xFF", 2))}, "200", std::string("\0\xFF", 2)},
    {"earlyHints", {{"HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" + kGood.bytes}}, "200", "hello"},

    // A complete answer of any status ends the task.
    {"status299", {answer("299 Odd", "hello")}, "299", "hello"},
    {"status300WithoutALocation", {answer("300 Choices", "hello")}, "300", "hello"},
    {"status304", {{"HTTP/1.1 304 Not Modified\r\n\r\n", hang}}, "304"},
    {"status401", {answer("401 Unauthorized\r\nWWW-Authenticate: Basic", "no")}, "401", "no"},
    {"status404", {answer("404 Not Found", "nothing")}, "404", "nothing"},
    {"status429", {answer("429 Too Many\r\nRetry-After: 1", "slow")}, "429", "slow"},
    {"status500", {answer("500 Oh", "oh")}, "500", "oh"},
    {"status503", {answer("503 Busy", "busy")}, "503", "busy"},
    {"status600", {answer("600 Odd", "hello")}, "600", "hello"},
    {"status999", {answer("999 Odd", "hello")}, "999", "hello"},

    // Lost connections lead to another attempt.
    {"nothingAtAll", {{""}, kGood}, "200", "hello", 1, 2},
    {"cutInTheHead", {{"HTTP/1.1 200 OK\r\nConte"}, kGood}, "200", "hello", 1, 2},
    {"cutInTheBody", {{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nshort"}, kGood}, "200", "hello", 1, 2},
    {"cutTwice", {{"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nshort"}, {""}, kGood}, "200", "hello", 2, 3},
    {"cutInAChunk", {{chunked("9\r\nshort")}, kGood}, "200", "hello", 1, 2},
    {"cutAfterAChunk", {{chunked("5\r\nshort\r\n")}, kGood}, "200", "hello", 1, 2},
    {"cutAfterEarlyHints", {{"HTTP/1.1 103 Early Hints\r\n\r\n"}, kGood}, "200", "hello", 1, 2},

    // Invalid answers end the task with an error.
    {"noHTTP", {{"220 mail.example ESMTP\r\n"}}, "-1017"},
    {"emptyLine", {{"\r\n\r\n"}}, "-1017"},
    {"statusOfFourDigits", {{"HTTP/1.1 2000 OK\r\n\r\n"}}, "-1017"},
    {"statusBelow100", {answer("099 Odd", "hello")}, "-1017"},
    {"status000", {answer("000 Odd", "hello", hang)}, "-1017"},
    {"statusOfLetters", {{"HTTP/1.1 OK 200\r\n\r\n"}}, "-1017"},
    {"unknownVersion", {{"HTTP/9.1 200 OK\r\n\r\nhello"}}, "-1017"},
    {"badChunk", {{chunked("zz\r\nhello\r\n")}, kGood}, "200", "hello", 1, 2},
    {"endlessRedirects", {answer("302 Found\r\nLocation: /again", "", keep)}, "-1007", "", 0, 21},
    {"redirectToAnotherScheme", {answer("302 Found\r\nLocation: ftp://127.0.0.1/x")}, "-1002"},
    {"redirectToAnotherProtocol", {answer("302 Found\r\nLocation: /x"), {"220 mail.example ESMTP\r\n"}}, "-1017", "", 0, 2},
    {"redirectWithoutALocation", {answer("302 Found", "hello")}, "302", "hello"},
    {"redirectWithABody", {answer("302 Found\r\nLocation: /x", "moved"), kGood}, "200", "hello", 0, 2},
    {"manyHeaders", {{"HTTP/1.1 200 OK\r\n" + repeated("X: " + std::string(1000, 'x') + "\r\n", 100) + "\r\n"}}, "-1103"},
    {"oneLongHeader", {{"HTTP/1.1 200 OK\r\nX: " + std::string(1 << 20, 'x')}}, "-1103"},
    {"redirectToAFile", {answer("302 Found\r\nLocation: file:///etc/passwd")}, "-1002"},
};
// clang-format on

class Answers : public ::testing::TestWithParam<Case> {};

TEST_P(Answers, EndTheTask) {
  const Case& row = GetParam();
  ScriptedServer server(row.replies);
  Transfers transfers;
  const auto id = transfers.add({.url = server.url(), .method = "POST", .body = "{}"});
  transfers.settle();
  const TransferTask& task = transfers.task(id);
  EXPECT_EQ(endOf(task), row.end);
  EXPECT_EQ(task.attempts, row.failed);
  EXPECT_EQ(server.requests().size(), row.requests);
  EXPECT_EQ(std::filesystem::exists(transfers.bodyFile(id)), !task.outcome.error);
  if (!task.outcome.error) {
    EXPECT_EQ(transfers.body(id), row.body);
    EXPECT_EQ(task.outcome.size, row.body.size());
  }
  EXPECT_THAT(transfers.service().takeReports(), ::testing::IsEmpty());
  EXPECT_TRUE(transfers.service().markDelivered(id));
  EXPECT_THAT(transfers.bodies(), ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Of, Answers, ::testing::ValuesIn(kCases), [](const auto& row) {
  return std::string(row.param.name);
});

struct Redirect {
  int status;
  const char* method;
  const char* then;
  bool keepsBody;
};

// The platform changes the method in the same cases as browsers.
// clang-format off
const Redirect kRedirects[] = {
    {301, "GET", "GET", false},  {301, "POST", "GET", false}, {302, "POST", "GET", false},
    {303, "POST", "GET", false}, {307, "POST", "POST", true}, {308, "POST", "POST", true},
    {302, "PUT", "PUT", true},   {303, "PUT", "GET", false},  {307, "PUT", "PUT", true},   {301, "HEAD", "HEAD", false},
};
// clang-format on

TEST(TransferRedirect, KeepsMethodAndBodyWhereThePlatformDoes) {
  for (const Redirect& row : kRedirects) {
    ScriptedServer server(
        {answer(std::to_string(row.status) + " Moved\r\nLocation: /new", "old body"),
         answer("200 OK", std::string_view(row.method) == "HEAD" ? "" : "hello")});
    Transfers transfers;
    const bool sends = std::string_view(row.method).starts_with("P");
    const auto id = transfers.add({.url = server.url(),
                                   .method = row.method,
                                   .headers = {{"X-API-KEY", "k"}},
                                   .body = sends ? "{}" : ""});
    transfers.settle();
    EXPECT_EQ(endOf(transfers.task(id)), "200") << row.status << row.method;
    const std::string second = server.requests().at(1);
    EXPECT_TRUE(second.starts_with(std::string(row.then) + " /new HTTP/1.1\r\n")) << second;
    EXPECT_EQ(second.ends_with("\r\n\r\n{}"), row.keepsBody) << second;
    EXPECT_NE(second.find("X-API-KEY: k\r\n"), second.npos) << second;
  }
}

TEST(TransferRedirect, DoesNotSendTheApplicationsHeadersToAnotherHost) {
  ScriptedServer second({answer("200 OK", "hello")});
  const std::string elsewhere = "http://localhost:" + std::to_string(second.port()) + "/new";
  ScriptedServer first({answer("307 Moved\r\nLocation: " + elsewhere)});
  Transfers transfers;
  const auto id = transfers.add({.url = first.url(),
                                 .method = "POST",
                                 .headers = {{"Content-Type", "application/json"},
                                             {"X-API-KEY", "secret"},
                                             {"Authorization", "secret"}},
                                 .body = "{}"});
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(id)), "200");
  ASSERT_EQ(second.requests().size(), 1u);
  EXPECT_THAT(second.requests()[0], ::testing::Not(::testing::HasSubstr("secret")));
  EXPECT_THAT(second.requests()[0], ::testing::HasSubstr("Content-Type: application/json\r\n"));
}

TEST(TransferWire, TheServerSeesExactlyTheRequest) {
  struct Row {
    TransferRequest request;
    std::string path;
    std::string head;
  };
  const std::string binary("{\"a\":\"\xC3\xB1\"}\r\n\0\xFF", 15);
  const Row rows[] = {
      {{.method = "POST",
        .headers = {{"Content-Type", "application/json"}, {"X-API-KEY", "development"}},
        .body = "{}"},
       "/base//api/widgets/get_affirmation",
       "Content-Type: application/json\r\nX-API-KEY: development\r\nContent-Length: 2\r\n"},
      {{.method = "POST", .headers = {{"X-API-KEY", ""}}, .body = binary},
       "/a/../b/./c?q=%20&r=ñ",
       "X-API-KEY:\r\nContent-Length: 15\r\n"},
      {{.method = "POST", .headers = {{"X-Blank", "  "}, {"X-Padded", " a b "}}},
       "/",
       "X-Blank:\r\nX-Padded: a b\r\nContent-Length: 0\r\n"},
      {{.method = "GET"}, "/", ""},
      {{.method = "PATCH", .body = "x"}, "/", "Content-Length: 1\r\n"},
      {{.method = "POST", .body = std::string(3 << 20, 'x')}, "/", "Content-Length: 3145728\r\n"},
  };
  for (const Row& row : rows) {
    ScriptedServer server({answer("200 OK")});
    Transfers transfers;
    TransferRequest request = row.request;
    request.url = server.url(row.path);
    transfers.add(request);
    transfers.settle();
    const std::string expected = row.request.method + " " + row.path +
                                 " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.port()) +
                                 "\r\nAccept: */*\r\n" + row.head + "\r\n" + row.request.body;
    EXPECT_EQ(server.requests().at(0), expected);
  }
}

}  // namespace
}  // namespace host
