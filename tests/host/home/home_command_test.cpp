#include <gmock/gmock.h>

#include "tests/host/command_line.h"

namespace {

using namespace world;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kGlancery = GLANCERY_BUILD "/glancery";

TEST(HomeCommand, EndsOnASignalOnceItsURLIsPrinted) {
  const Folder folder;
  for (int time = 0; time < 6; ++time) {
    ChildProcess home({kGlancery, "home", "--port", "0", "--container", folder.path() / "c"});
    EXPECT_THAT(home.line(), StartsWith("http://127.0.0.1:"));
    EXPECT_EQ(home.end(time % 2 == 0 ? SIGTERM : SIGINT).status, 0);
  }
}

TEST(HomeCommand, ReportsAPortOrContainerInUse) {
  const Phone phone;
  ChildProcess first({kGlancery, "home", "--port", "0", "--container", phone.container()});
  const std::string address = first.line();
  const std::string port = address.substr(17, address.size() - 18);
  const ProgramEnd second = phone.glancery({"home", "--port", "0"});
  EXPECT_EQ(second.status, 1);
  EXPECT_THAT(second.err, HasSubstr("is used by another home screen"));
  const ProgramEnd taken = Phone().glancery({"home", "--port", port});
  EXPECT_EQ(taken.status, 1);
  EXPECT_THAT(taken.err, HasSubstr("port " + port + " of 127.0.0.1 can't be opened"));
  const ProgramEnd unusual = phone.glancery({"home", "--budget", "-1"});
  EXPECT_EQ(unusual.status, 2);
  EXPECT_THAT(unusual.err, HasSubstr("--budget"));
}

}  // namespace
