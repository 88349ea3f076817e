#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/host/command_line.h"

namespace {

using namespace world;
namespace fs = std::filesystem;

const fs::path kGlancery = fs::path(GLANCERY_BUILD) / "glancery";

struct Completion {
  const char* name;
  std::vector<std::string> words;
  std::vector<std::string> offered;
  std::vector<std::string> notOffered = {};
  friend void PrintTo(const Completion& row, std::ostream* out) { *out << row.name; }
};

const Completion kCompletions[] = {
    {"commands", {""}, {"home", "render", "store", "--version"}, {"StreakWidget", "set"}},
    {"onlyWhatBeginsAsTyped", {"re"}, {"render"}, {"home", "store"}},
    {"commandsOfACommand", {"store", ""}, {"dump", "get", "set"}, {"render"}},
    {"kinds", {"render", "Str"}, {"StreakWidget"}, {"Checkin"}},
    {"kindsOnce", {"render", "StreakWidget", ""}, {"--output", "--scheme"}, {"StreakWidget"}},
    {"keys", {"store", "get", "streak"}, {"streakData", "streakImageIndex"}, {"sharedUid"}},
    {"moods", {"app", "mood", "very"}, {"veryBad", "veryWell"}, {"well"}},
    {"zones", {"render", "--time-zone", "America/Mexico"}, {"America/Mexico_City"}, {"UTC"}},
    {"locales", {"gallery", "--locale", "es_M"}, {"es_MX"}, {"en_US"}},
    {"screens", {"render", "--device", "375x6"}, {"375x667"}},
    {"aValueIsNoCommand", {"store", "set", "--type", "i"}, {"integer"}, {"set"}},
    {"nothingForAFile", {"render", "-o", ""}, {}, {"StreakWidget", "--scheme"}},
};

class Completions : public ::testing::TestWithParam<Completion> {};

TEST_P(Completions, OfferWhatMayStandThere) {
  std::vector<std::string> arguments = {"--complete"};
  arguments.insert(arguments.end(), GetParam().words.begin(), GetParam().words.end());
  const Ran ran = run(kGlancery, arguments);
  ASSERT_EQ(ran.status, 0) << ran.err;
  const std::string offered = "\n" + ran.out;
  for (const std::string& word : GetParam().offered) {
    EXPECT_NE(offered.find("\n" + word + "\n"), std::string::npos) << word << " in" << offered;
  }
  for (const std::string& word : GetParam().notOffered) {
    EXPECT_EQ(offered.find("\n" + word + "\n"), std::string::npos) << word << " in" << offered;
  }
}

INSTANTIATE_TEST_SUITE_P(Words,
                         Completions,
                         ::testing::ValuesIn(kCompletions),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Completions, WorkInAShell) {
  const std::string script = "source <(" + kGlancery.string() + " completion bash); COMP_WORDS=(" +
                             kGlancery.string() +
                             " store get sharedU); COMP_CWORD=3; _glancery; "
                             "printf '%s,' \"${COMPREPLY[@]}\"";
  const Ran ran = run("/bin/bash", {"-c", script});
  EXPECT_EQ(ran.out, "sharedUid,") << ran.err;
  EXPECT_EQ(run(kGlancery, {"completion", "tcsh"}).status, 2);
}

TEST(Manual, HasAPageForEveryCommandWithItsOptions) {
  const Folder folder;
  ASSERT_EQ(run(kGlancery, {"man", "-o", folder.path().string()}).status, 0);
  for (const std::string name : {"glancery", "glancery-app-streak", "glancery-render"}) {
    const std::string page = readWhole(folder.path() / (name + ".1"));
    EXPECT_TRUE(page.starts_with(".TH " + name + " 1 ")) << page;
  }
  const std::string render = readWhole(folder.path() / "glancery-render.1");
  EXPECT_NE(render.find("\n.I KIND\n"), std::string::npos) << render;
  EXPECT_NE(render.find("\\-\\-time\\-zone"), std::string::npos) << render;
  const Ran failed = run(kGlancery, {"man", "-o", "/dev/null/pages"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(failed.err.find("/dev/null/pages"), std::string::npos) << failed.err;
}

TEST(Version, NamesTheReleaseAndTheCommit) {
  const Ran ran = run(kGlancery, {"--version"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_THAT(ran.out, ::testing::MatchesRegex("1\\.0\\.0 \\([0-9a-z ]+\\)\n"));
}

}  // namespace
