#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/host/command_line.h"
#include "tests/host/transfer/transfer_world.h"

namespace host {
namespace {

using namespace world;

constexpr const char* kOpenssl = "/usr/bin/openssl";

/// A self-signed certificate for localhost.
struct Certificate {
  Certificate() {
    const ProgramEnd made = run(kOpenssl,
                                {"req",
                                 "-x509",
                                 "-newkey",
                                 "ec",
                                 "-pkeyopt",
                                 "ec_paramgen_curve:P-256",
                                 "-nodes",
                                 "-days",
                                 "2",
                                 "-subj",
                                 "/CN=localhost",
                                 "-addext",
                                 "subjectAltName=DNS:localhost",
                                 "-keyout",
                                 key,
                                 "-out",
                                 file});
    EXPECT_EQ(made.status, 0) << made.err;
  }
  ~Certificate() { ::unsetenv("SSL_CERT_FILE"); }
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;

  /// Adds it to the trusted authorities or removes it.
  void trust(bool yes) const {
    yes ? ::setenv("SSL_CERT_FILE", file.c_str(), 1) : ::unsetenv("SSL_CERT_FILE");
  }

  Folder folder;
  std::string file = folder.path() / "certificate.pem";
  std::string key = folder.path() / "key.pem";
};

TEST(TransferTLS, RefusesCertificatesOfNoTrustedAuthority) {
  const Certificate certificate;
  ChildProcess server({kOpenssl,
                       "s_server",
                       "-accept",
                       "127.0.0.1:0",
                       "-www",
                       "-cert",
                       certificate.file,
                       "-key",
                       certificate.key});
  std::string line;
  while (!line.starts_with("ACCEPT 127.0.0.1:")) {
    ASSERT_NE(line = server.line(), "");
  }
  const std::string port = line.substr(line.find(':'));

  const struct {
    std::string url;
    bool trusted;
    const char* end;
  } kRows[] = {
      {"https://localhost" + port, false, "-1202"},
      {"https://localhost" + port, true, "200"},
      {"https://127.0.0.1" + port, true, "-1202"},
  };
  for (const auto& row : kRows) {
    certificate.trust(row.trusted);
    Transfers transfers;
    const auto id = transfers.add({.url = row.url + "/"});
    transfers.settle();
    EXPECT_EQ(endOf(transfers.task(id)), row.end) << row.url;
  }
}

/// A server for HTTP/2 only, which resets the first request for /reset.
constexpr const char* kHTTP2Server = R"(
  const fs = require('fs');
  const [, key, cert] = process.argv.map((name, index) => index && fs.readFileSync(name));
  const resets = ['/reset'];
  const server = require('http2').createSecureServer({key, cert});
  server.on('stream', (stream, headers) => {
    let body = '';
    stream.on('error', () => {});
    stream.on('data', part => body += part);
    stream.on('end', () => {
      const reset = resets.indexOf(headers[':path']);
      if (reset >= 0) {
        resets.splice(reset, 1);
        stream.close(2);
        return;
      }
      if (headers[':path'] === '/insecure') {
        stream.respond({':status': 302, 'location': 'http://localhost:1/'});
        stream.end();
        return;
      }
      stream.respond({':status': 503});
      stream.end(headers[':method'] + headers['x-api-key'] + body);
    });
  });
  server.listen(0, '127.0.0.1', () => console.log(server.address().port));
)";

TEST(TransferTLS, OverHTTP2AnAnswerIsTheSame) {
  const Certificate certificate;
  certificate.trust(true);
  ChildProcess server(
      {"/usr/bin/env", "node", "-e", kHTTP2Server, certificate.key, certificate.file});
  const std::string base = "https://localhost:" + server.line();
  Transfers transfers;
  const struct {
    std::string path;
    std::string body;
    int failed;
  } kRows[] = {{"/", "{}", 0}, {"/large", std::string(1 << 20, 'x'), 0}, {"/reset", "{}", 1}};
  std::vector<std::int64_t> ids;
  for (const auto& row : kRows) {
    ids.push_back(transfers.add({.url = base + row.path,
                                 .method = "POST",
                                 .headers = {{"X-API-KEY", "k"}},
                                 .body = row.body}));
  }
  transfers.settle();
  for (std::size_t index = 0; index < std::size(kRows); ++index) {
    const TransferTask& task = transfers.task(ids[index]);
    ASSERT_EQ(endOf(task), "503");
    EXPECT_EQ(task.attempts, kRows[index].failed);
    EXPECT_TRUE(transfers.body(ids[index]) == "POSTk" + kRows[index].body);
  }
  const auto insecure = transfers.add({.url = base + "/insecure"});
  transfers.settle();
  EXPECT_EQ(endOf(transfers.task(insecure)), "-1022");
}

}  // namespace
}  // namespace host
