#include <gtest/gtest.h>

#include <csignal>

#include "tests/host/command_line.h"

namespace {

using namespace world;
namespace fs = std::filesystem;

TEST(WatchCommand, DrawsAgainAfterEveryChange) {
  const Phone phone;
  const fs::path bundle = phone.file("Glancery.appex");
  fs::copy(GLANCERY_BUILD "/Glancery.appex", bundle, fs::copy_options::recursive);
  const fs::path picture = phone.file("streak.png");
  ChildProcess watch({GLANCERY_BUILD "/glancery",
                      "watch",
                      "StreakWidget",
                      "-o",
                      picture,
                      "--container",
                      phone.container(),
                      "--extension",
                      bundle});
  std::string last;
  const auto expectAnother = [&] {
    EXPECT_EQ(watch.line(), picture.string());
    EXPECT_NE(std::exchange(last, readWhole(picture)), readWhole(picture));
  };
  expectAnother();
  phone.glancery({"app", "streak", "9"});
  expectAnother();

  writeWhole(bundle / "Assets.xcassets/flame.imageset/flame.svg",
             "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>");
  expectAnother();
  writeWhole(bundle / "Localizable.xcstrings", "{");
  phone.glancery({"app", "streak", "10"});
  EXPECT_EQ(watch.line(), picture.string()) << "damaged texts end nothing";
  EXPECT_EQ(watch.end(SIGINT).status, 0);
}

}  // namespace
