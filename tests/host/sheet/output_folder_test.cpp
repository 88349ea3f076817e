#include "host/sheet/output_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <stdexcept>

#include "tests/host/sheet/folder_contents.h"

namespace host {
namespace {

namespace fs = std::filesystem;

using namespace world;
using ::testing::HasSubstr;

constexpr std::string_view kFiles[] = {"page.html", "list.json"};
constexpr std::string_view kFolders[] = {"One", "Two"};
constexpr OutputFolder::Layout kLayout = {.what = "album", .files = kFiles, .folders = kFolders};
constexpr const char* kMark = "{\n  \"glancery\": \"album\"\n}\n";

void fill(OutputFolder& folder, const std::string& bytes, const std::string& picture) {
  folder.write(picture, bytes);
  folder.write("page.html", bytes);
  folder.write("list.json", kMark);
}

void make(const fs::path& path, const std::string& bytes, const std::string& picture) {
  OutputFolder folder(path, kLayout);
  fill(folder, bytes, picture);
  folder.publish();
}

std::string refusal(const fs::path& path) {
  try {
    OutputFolder folder(path, kLayout);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "";
}

TEST(OutputFolder, IsReplacedAsAWhole) {
  const Folder scratch;
  const fs::path path = scratch.path() / "new" / "album";
  make(path, "1", "One/a.png");
  make(path, "2", "Two/deep/b.json");
  EXPECT_EQ(contents(path),
            (std::map<std::string, std::string>{
                {"Two/deep/b.json", "2"}, {"page.html", "2"}, {"list.json", kMark}}));
  {
    OutputFolder abandoned(path, kLayout);
    abandoned.write("One/c.png", "3");
  }
  EXPECT_EQ(contents(path).size(), 3u) << "an unpublished run leaves nothing";
}

TEST(OutputFolder, RefusesForeignFiles) {
  const Folder scratch;
  const std::pair<const char*, const char*> kForeign[] = {
      {"notes.txt", "notes.txt"},
      {"One/a.txt", "One/a.txt"},
      {"Two/deep/.hidden", "Two/deep/.hidden"},
      {"Three/a.png", "Three"},
  };
  int number = 0;
  for (const auto& [file, named] : kForeign) {
    const fs::path path = scratch.path() / std::to_string(number++);
    make(path, "1", "One/a.png");
    writeWhole(path / file, "mine");
    const auto before = contents(path);
    EXPECT_THAT(refusal(path), HasSubstr("\"" + std::string(named) + "\"")) << file;
    EXPECT_EQ(contents(path), before);
  }
  const fs::path linked = scratch.path() / "linked";
  make(linked, "1", "One/a.png");
  fs::create_directory_symlink(scratch.path(), linked / "Two");
  EXPECT_THAT(refusal(linked), HasSubstr("\"Two\""));
  // Files with these names, but not marked as an album.
  const fs::path unmarked = scratch.path() / "site";
  writeWhole(unmarked / "page.html", "mine");
  EXPECT_THAT(refusal(unmarked), HasSubstr("\"page.html\", which is not part of a album"));
  writeWhole(scratch.path() / "file", "mine");
  EXPECT_THAT(refusal(scratch.path() / "file"), HasSubstr("file can't be written"));
}

TEST(OutputFolder, IsWrittenByOneRunAtATime) {
  const Folder scratch;
  const OutputFolder first(scratch.path(), kLayout);
  EXPECT_THAT(refusal(scratch.path()), HasSubstr("another run is writing it"));
}

// A run that is killed at any time leaves every file whole, and the next run cleans up.
TEST(OutputFolder, IsWholeAfterAKill) {
  const Folder scratch;
  const fs::path path = scratch.path() / "album";
  const std::string old(100'000, 'o');
  const std::string fresh(100'000, 'f');
  for (int delay = 0; delay < 1500; delay += 100) {
    make(path, old, "One/a.png");
    const pid_t child = ::fork();
    if (child == 0) {
      for (;;) {
        OutputFolder folder(path, kLayout);
        fill(folder, fresh, "One/a.png");
        folder.publish();
      }
    }
    ::usleep(static_cast<useconds_t>(delay));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    for (const char* file : {"One/a.png", "page.html"}) {
      // Between two renames the image is missing.
      if (fs::exists(path / file)) {
        const std::string bytes = readWhole(path / file);
        EXPECT_TRUE(bytes == old || bytes == fresh) << file << " after " << delay;
      }
    }
    make(path, old, "Two/b.png");
    EXPECT_EQ(contents(path).size(), 3u);
  }
}

}  // namespace
}  // namespace host
