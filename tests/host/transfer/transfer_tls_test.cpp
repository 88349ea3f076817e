#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/host/child.h"
#include "tests/host/command_line.h"
#include "tests/host/transfer/transfer_world.h"

namespace host {
namespace {

using namespace world;

TEST(TransferTLS, TrustsNobodyWhomNoAuthorityVouchesFor) {
  Folder folder;
  const std::string certificate = folder.path() / "certificate.pem";
  const std::string key = folder.path() / "key.pem";
  const std::string openssl = "/usr/bin/openssl";
  const Ran made = run(openssl,
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
                        certificate});
  ASSERT_EQ(made.status, 0) << made.err;
  Child server(
      {openssl, "s_server", "-accept", "127.0.0.1:0", "-www", "-cert", certificate, "-key", key});
  std::string line;
  while (!line.starts_with("ACCEPT 127.0.0.1:")) {
    ASSERT_NE(line = server.line(), "");
  }
  const std::string port = line.substr(line.find(':'));

  const struct {
    std::string url;
    const char* authorities;
    const char* end;
  } kRows[] = {
      {"https://localhost" + port, nullptr, "-1202"},
      {"https://localhost" + port, certificate.c_str(), "200"},
      {"https://127.0.0.1" + port, certificate.c_str(), "-1202"},
  };
  for (const auto& row : kRows) {
    ::unsetenv("SSL_CERT_FILE");
    if (row.authorities) {
      ::setenv("SSL_CERT_FILE", row.authorities, 1);
    }
    Transfers transfers;
    const std::string id = transfers.add({.url = row.url + "/"});
    transfers.settle();
    EXPECT_EQ(endOf(transfers.task(id)), row.end) << row.url;
  }
  ::unsetenv("SSL_CERT_FILE");
}

}  // namespace
}  // namespace host
