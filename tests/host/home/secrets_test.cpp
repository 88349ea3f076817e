#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/host/command_line.h"
#include "tests/host/http/client.h"

namespace {

using namespace world;
using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

/// Everything that other users, or readers of a log, can see of a container.
std::string readableByOthers(const fs::path& container) {
  std::string all;
  for (const auto& file : fs::recursive_directory_iterator(container)) {
    if (file.is_regular_file() &&
        (file.status().permissions() & fs::perms::others_read) != fs::perms::none) {
      all += readWhole(file.path());
    }
  }
  return all;
}

TEST(Secrets, AppearInNoLogNoErrorAndNoPublicFile) {
  const std::string key = "the-api-key";
  const Phone phone;
  // The mode of a folder must not be what protects its files.
  fs::create_directories(phone.container() / "Library" / "Widgets");
  phone.glancery({"app", "sign-in", "u-1"});
  ChildProcess home({GLANCERY_BUILD "/glancery",
                     "home",
                     "--port",
                     "0",
                     "--container",
                     phone.container(),
                     "--info",
                     "ApiKey=" + key,
                     "--info",
                     "ApiBaseUrl=http://localhost:1"});
  const std::string url = home.line();
  const int port = std::stoi(url.substr(url.rfind(':') + 1));
  const auto ask = [&](const std::string& request, std::string_view end) {
    const Client client(port);
    client.send(request + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
    return client.receive(end);
  };
  const std::string page = ask("GET /", "</html>");
  const std::string mark = "home-token\" content=\"";
  const std::string token = page.substr(page.find(mark) + mark.size(), 36);
  // The download has failed once by the time it is reported.
  std::string seen;
  while (seen.find("Could not connect") == std::string::npos) {
    seen = ask("GET /events", "event: log\ndata: {") + phone.glancery({"downloads"}).out;
  }
  seen += ask("POST /actions", "}") + ask("POST /drills", "}");
  seen += phone.glancery({"downloads", "--json"}).out + phone.glancery({"store", "dump"}).out;
  seen += readableByOthers(phone.container());
  const ProgramEnd end = home.end(SIGTERM);
  seen += end.out + end.err;
  EXPECT_THAT(page + seen, Not(HasSubstr(key)));
  EXPECT_THAT(seen, Not(HasSubstr(token)));
  EXPECT_EQ(readableByOthers(phone.container()), "") << "all of it concerns the user";
}

}  // namespace
