#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
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
    {"furtherDrills", {"drill", "clock-back", "server-d"}, {"server-down"}},
    {"aValueIsNoCommand", {"store", "set", "--type", "i"}, {"integer"}, {"set"}},
    {"nothingForAFile", {"render", "-o", ""}, {}, {"StreakWidget", "--scheme"}},
};

class Completions : public ::testing::TestWithParam<Completion> {};

TEST_P(Completions, OfferWhatMayStandThere) {
  std::vector<std::string> arguments = {"--complete"};
  arguments.insert(arguments.end(), GetParam().words.begin(), GetParam().words.end());
  const ProgramEnd ran = run(kGlancery, arguments);
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
  const ProgramEnd ran = run("/bin/bash", {"-c", script});
  EXPECT_EQ(ran.out, "sharedUid,") << ran.err;
  EXPECT_EQ(run(kGlancery, {"completion", "tcsh"}).status, 2);
}

/// The words that begin the lines of a section of `--help`, such as the names of subcommands.
std::vector<std::string> namesIn(const std::string& help, const std::string& section) {
  std::vector<std::string> names;
  std::istringstream lines(help);
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (inside && line.starts_with("  ")) {
      names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    inside = line.empty() ? false : inside || line == section + ":";
  }
  return names;
}

/// Calls `visit` with the words and the help of every command that has no commands below it.
void forEachCommand(const std::vector<std::string>& words, const auto& visit) {
  std::vector<std::string> help = words;
  help.emplace_back("--help");
  const std::string text = run(kGlancery, help).out;
  const auto subcommands = namesIn(text, "Subcommands");
  for (const std::string& name : subcommands) {
    help.back() = name;
    forEachCommand(help, visit);
  }
  if (subcommands.empty()) {
    visit(words, text);
  }
}

TEST(Help, OfEveryCommandHasExamplesWithItsOwnOptions) {
  std::size_t commands = 0;
  forEachCommand({}, [&](const std::vector<std::string>& words, const std::string& help) {
    ++commands;
    std::string start = "\n  glancery";
    for (const std::string& word : words) {
      start += " " + word;
    }
    std::size_t at = help.find("\nExamples:" + start);
    ASSERT_NE(at, std::string::npos) << help;
    std::istringstream examples(help.substr(at));
    for (std::string word; examples >> word && word != "#";) {
      EXPECT_TRUE(!word.starts_with("--") || help.find(word + " ") < at) << word << " in " << help;
    }
  });
  EXPECT_GT(commands, 18u);
}

TEST(Help, GroupsTheOptions) {
  const std::string help = run(kGlancery, {"render", "--help"}).out;
  for (const auto& [group, option] : {std::pair("Output", "--of"),
                                      std::pair("Device", "--scale"),
                                      std::pair("Extension", "--info"),
                                      std::pair("Container", "--container")}) {
    EXPECT_THAT(namesIn(help, group), ::testing::Contains(option));
  }
}

struct Terminal {
  const char* name;
  const char* environment;
  const char* first;
  friend void PrintTo(const Terminal& row, std::ostream* out) { *out << row.name; }
};

const Terminal kTerminals[] = {
    {"colorsAndColumns", "TERM=xterm", "\x1B[1mCheckin\x1B[0m           (systemMedium)\r\n"},
    {"anEmptyNoColorIsUnset",
     "TERM=xterm NO_COLOR=",
     "\x1B[1mCheckin\x1B[0m           (systemMedium)\r\n"},
    {"noColor", "TERM=xterm NO_COLOR=1", "Checkin           (systemMedium)\r\n"},
    {"dumb", "TERM=dumb", "Checkin           (systemMedium)\r\n"},
    {"pipe", "TERM=xterm", "Checkin (systemMedium)\n"},
};

class Terminals : public ::testing::TestWithParam<Terminal> {};

TEST_P(Terminals, ShowColumnsAndColors) {
  const Folder folder;
  const std::string command = std::string("env -u NO_COLOR ") + GetParam().environment + " " +
                              kGlancery.string() + " gallery --container " + folder.path().string();
  const ProgramEnd ran = GetParam().name == std::string("pipe")
                             ? run("/bin/sh", {"-c", command})
                             : run("/usr/bin/script", {"-qec", command, "/dev/null"});
  EXPECT_THAT(ran.out, ::testing::StartsWith(GetParam().first));
}

INSTANTIATE_TEST_SUITE_P(Rows, Terminals, ::testing::ValuesIn(kTerminals), [](const auto& row) {
  return std::string(row.param.name);
});

TEST(Manual, HasAPageForEveryCommandWithItsOptions) {
  const Folder folder;
  ASSERT_EQ(run(kGlancery, {"man", "-o", folder.path().string()}).status, 0);
  for (const std::string name : {"glancery", "glancery-app-streak", "glancery-render"}) {
    const std::string page = readWhole(folder.path() / (name + ".1"));
    EXPECT_TRUE(page.starts_with(".TH " + name + " 1 ")) << page;
  }
  const std::string signIn = readWhole(folder.path() / "glancery-app-sign-in.1");
  EXPECT_NE(signIn.find("\n.B glancery app sign\\-in\n"), std::string::npos) << signIn;
  const std::string render = readWhole(folder.path() / "glancery-render.1");
  EXPECT_NE(render.find("\n.I KIND\n"), std::string::npos) << render;
  EXPECT_NE(render.find("\\-\\-time\\-zone"), std::string::npos) << render;
  EXPECT_NE(render.find("\n.SS Device\n"), std::string::npos) << render;
  EXPECT_NE(render.find("\nglancery render StreakWidget \\-o streak.png\n"), std::string::npos)
      << render;
  const ProgramEnd failed = run(kGlancery, {"man", "-o", "/dev/null/pages"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(failed.err.find("/dev/null/pages"), std::string::npos) << failed.err;
}

TEST(Version, NamesTheReleaseAndTheCommit) {
  const ProgramEnd ran = run(kGlancery, {"--version"});
  EXPECT_EQ(ran.status, 0);
  EXPECT_THAT(ran.out, ::testing::MatchesRegex("1\\.0\\.0 \\([0-9a-z ]+\\)\n"));
}

}  // namespace
