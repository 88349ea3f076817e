#include "platform/foundation/defaults/suite_file.h"

#include <gtest/gtest.h>

#include "tests/world.h"

namespace platform {

namespace {

namespace fs = std::filesystem;

/// Stores a number in the suite and syncs it.
void store(const fs::path& path, int number) {
  const SuiteFile suite(path);
  const auto changed = suite.change([number](Dictionary& members) {
    members.set("number", number);
    return true;
  });
  ASSERT_TRUE(changed) << changed.error();
  ASSERT_TRUE(suite.synchronize());
}

TEST(SuiteFile, KeepsTheMode) {
  const world::Folder container;
  const auto path = SuiteFile::pathOf(container.path(), "suite");
  store(path, 0);
  EXPECT_EQ(fs::status(path).permissions(), fs::perms(0600));
  for (const fs::perms mode : {fs::perms(0664), fs::perms(0440)}) {
    fs::permissions(path, mode);
    store(path, 1);
    EXPECT_EQ(fs::status(path).permissions(), mode);
  }
}

TEST(SuiteFile, WritesThroughLinks) {
  const world::Folder container;
  const auto path = SuiteFile::pathOf(container.path(), "suite");
  const auto target = container.path() / "elsewhere" / "real.plist";
  fs::create_directories(target.parent_path());
  fs::create_directories(path.parent_path());
  fs::create_symlink("../../elsewhere/real.plist", path.parent_path() / "middle");
  fs::create_symlink(path.parent_path() / "middle", path);
  ASSERT_TRUE(SuiteFile(path).canBeOpened());
  for (const int number : {1, 2}) {  // The first write finds no file behind the link.
    store(path, number);
    EXPECT_EQ(SuiteFile(path).read().dictionary(), (Dictionary{{"number", number}}));
    EXPECT_EQ(SuiteFile(target).read().dictionary(), (Dictionary{{"number", number}}));
  }
  world::writeWhole(target, "rubbish");
  ::testing::internal::CaptureStderr();
  store(path, 3);
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(world::readWhole(target.string() + ".damaged"), "rubbish");
  EXPECT_TRUE(fs::exists(target.string() + ".lock")) << "writers through any link share one lock";
  EXPECT_EQ(std::distance(fs::directory_iterator(path.parent_path()), {}), 2) << "only the links";
}

}  // namespace

}  // namespace platform
