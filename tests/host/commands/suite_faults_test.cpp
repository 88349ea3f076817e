#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/foundation/data/property_list.h"
#include "tests/host/command_line.h"

namespace {

using namespace platform;
using namespace world;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using Words = std::vector<std::string>;

// Longer than the limit of `onAFullDisk`, and so is every suite that holds it.
const std::string kLong(8000, 'x');

/// Runs the program where no file may grow beyond a block of at most 1024 bytes. Unlike modes and
/// mounts this limits root too, and needs no rights.
ProgramEnd onAFullDisk(const Phone& phone, const Words& words) {
  Words shell = {"-c",
                 "trap '' XFSZ; ulimit -f 1; exec \"$0\" \"$@\"",
                 std::string(GLANCERY_BUILD) + "/glancery"};
  shell.insert(shell.end(), words.begin(), words.end());
  shell.insert(shell.end(), {"--container", phone.container().string()});
  return run("/bin/sh", shell);
}

ProgramEnd beforeAFolder(const Phone& phone, const Words& words) {
  const auto next = phone.suiteFile().string() + ".new";
  std::filesystem::create_directories(next);
  const ProgramEnd ran = phone.glancery(words);
  std::filesystem::remove(next);
  return ran;
}

void expectOneLine(const ProgramEnd& ran, const std::string& says) {
  EXPECT_EQ(ran.status, 1) << ran.err;
  EXPECT_EQ(ran.out, "");
  EXPECT_THAT(ran.err, AllOf(HasSubstr(says), EndsWith("\n")));
  EXPECT_EQ(std::ranges::count(ran.err, '\n'), 1) << ran.err;
}

TEST(SuiteFaults, AFailedWriteIsReportedAndChangesNothing) {
  const Phone phone;
  phone.glancery({"app", "sign-in", "u-1"});
  phone.glancery({"store", "set", "long", kLong});
  const std::string before = readWhole(phone.suiteFile());
  for (const Words& words : {Words{"app", "sign-in", "u-2"},
                             Words{"app", "sign-out"},
                             Words{"app", "streak", "3"},
                             Words{"app", "mood", "well"},
                             Words{"store", "set", "k", "v"},
                             Words{"store", "delete", "sharedUid"}}) {
    SCOPED_TRACE(words[1]);
    expectOneLine(onAFullDisk(phone, words), "File too large");
    EXPECT_FALSE(std::filesystem::exists(phone.suiteFile().string() + ".new"))
        << "what was written of it is gone";
    expectOneLine(beforeAFolder(phone, words), "Is a directory");
    EXPECT_EQ(readWhole(phone.suiteFile()), before);
    EXPECT_EQ(phone.glancery(words).status, 0) << "nothing else was wrong";
    writeWhole(phone.suiteFile(), before);
  }
}

TEST(SuiteFaults, ADamagedSuiteIsReportedAndLeftAlone) {
  const Phone phone;
  std::filesystem::create_directories(phone.suiteFile().parent_path());
  const std::pair<std::string, const char*> damages[] = {
      {"", "there are no bytes"},
      {"bplist00rubbish", "cut short"},
      {"<plist>\n<dict><key>a</key><date>soon</date></dict></plist>",
       "line 2: not a valid date: \"soon\""},
      {"<plist><array/></plist>", "not a dictionary"},
  };
  for (const auto& [bytes, says] : damages) {
    writeWhole(phone.suiteFile(), bytes);
    for (const Words& words :
         {Words{"store", "dump"}, Words{"store", "get", "a"}, Words{"store", "delete", "a"}}) {
      const ProgramEnd ran = phone.glancery(words);
      expectOneLine(ran, phone.suiteFile().string() + " is damaged: ");
      EXPECT_THAT(ran.err, HasSubstr(says));
      EXPECT_EQ(readWhole(phone.suiteFile()), bytes);
    }
  }
  EXPECT_EQ(phone.glancery({"store", "set", "a", "b"}).status, 0);
  EXPECT_EQ(phone.glancery({"store", "get", "a"}).out, "\"b\"\n");
}

TEST(SuiteFaults, AValueOfAnUnknownTypeStaysBesideTheOthers) {
  const Phone phone;
  std::filesystem::create_directories(phone.suiteFile().parent_path());
  writeWhole(phone.suiteFile(),
             *NSPropertyListSerialization::dataWithPropertyList(
                 Dictionary{{"u", UnsupportedObject{"\x80\7"}}, {"v", true}}));
  EXPECT_EQ(phone.glancery({"app", "sign-in", "u-1"}).err, "");
  EXPECT_EQ(phone.glancery({"store", "get", "u"}).out, "{\n  \"unsupported\": \"gAc=\"\n}\n");
  EXPECT_EQ(phone.glancery({"store", "get", "v"}).out, "true\n");
}

}  // namespace
