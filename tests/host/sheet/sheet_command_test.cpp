#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include <nlohmann/json.hpp>

#include "host/sheet/states/states.h"
#include "platform/render/images/picture.h"
#include "platform/render/output/png_encoder.h"
#include "tests/host/command_line.h"
#include "tests/host/sheet/folder_contents.h"

namespace {

namespace fs = std::filesystem;

using namespace world;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using Json = nlohmann::ordered_json;
using Words = std::vector<std::string>;

/// Runs the command for one widget on the default device, which writes every kind of file.
ProgramEnd sheet(Words more) {
  Words words = {"sheet",
                 "--quick",
                 "--only",
                 "Checkin",
                 "--accepted-findings",
                 GLANCERY_TEST_DATA "/accepted_findings.json"};
  words.insert(words.end(), more.begin(), more.end());
  return run(std::string(GLANCERY_BUILD) + "/glancery", words);
}

constexpr const char* kSignedIn = "Checkin/signed-in.es_MX.390x844.light.17.0";

TEST(RenderJobs, HaveNamesThatDifferOnEveryFileSystem) {
  std::set<std::string> names;
  for (const host::RenderJob& job : host::allRenderJobs()) {
    std::string name = job.name();
    EXPECT_THAT(
        name,
        MatchesRegex("[A-Za-z]+/[a-z0-9.-]+\\.[a-z]+_[A-Z]+\\.[0-9x]+\\.[a-z]+\\.1[67]\\.[0-9]"));
    std::ranges::transform(name, name.begin(), ::tolower);
    EXPECT_TRUE(names.insert(name).second) << name;
  }
  EXPECT_GT(names.size(), 1000u);
}

TEST(Sheet, IsTheSameTwice) {
  const Folder folder;
  const fs::path first = folder.path() / "first";
  const fs::path second = folder.path() / "second";
  const ProgramEnd ran = sheet({"-o", first.string()});
  EXPECT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.err, "") << "no progress bar without a terminal";
  EXPECT_THAT(ran.out, MatchesRegex("5 pictures, [0-9]+ findings, [0-9.]+ s, [0-9]+ pictures/s\n"));
  EXPECT_EQ(sheet({"-o", second.string()}).status, 0);
  EXPECT_EQ(sheet({"-o", second.string()}).status, 0) << "an earlier sheet is replaced";
  const auto files = contents(first);
  EXPECT_EQ(files, contents(second));
  EXPECT_EQ(files.size(), 12u);

  const Json list = Json::parse(files.at("sheet.json"));
  EXPECT_EQ(list["pictures"].size(), 5u);
  const Json& picture = list["pictures"][0];
  EXPECT_EQ(picture["name"], kSignedIn);
  EXPECT_EQ(picture["findings"][0]["check"], "small-tap-area");
  EXPECT_EQ(Json::parse(files.at(std::string(kSignedIn) + ".json"))["size"]["width"], 338);
  EXPECT_THAT(files.at("index.html"), HasSubstr(std::string("\"name\":\"") + kSignedIn));
  EXPECT_EQ(files.at("index.html").find(folder.path()), std::string::npos);
}

/// The image with the blue channel of its middle pixel changed by `step`.
std::string changed(const std::string& png, int step) {
  const auto picture = platform::readPNG(png, 1).value();
  const auto pixels = picture.allPixels();
  platform::Bitmap bitmap{
      .width = picture.width, .height = picture.height, .pixels = {pixels.begin(), pixels.end()}};
  bitmap.pixels[bitmap.pixels.size() / 2 + bitmap.width / 2] -= static_cast<std::uint32_t>(step);
  return platform::PNGEncoder().encode(bitmap);
}

/// The image with a text chunk added: other bytes, same pixels.
std::string commented(std::string png) {
  constexpr std::size_t kLastChunk = 12;
  return png.insert(png.size() - kLastChunk, std::string("\0\0\0\3tEXta\0bCRC.", 15));
}

struct Change {
  const char* name;
  /// Changes the golden image or its display list; `file` has no extension.
  std::function<void(const fs::path& file)> make;
  const char* kind;
  const char* says;
  friend void PrintTo(const Change& row, std::ostream* out) { *out << row.name; }
};

const Change kChanges[] = {
    {"nothing", [](const fs::path&) {}, nullptr, nullptr},
    {"otherBytesOfTheSamePixels",
     [](const fs::path& file) {
       const auto png = file.string() + ".png";
       writeWhole(png, commented(readWhole(png)));
     },
     nullptr,
     nullptr},
    {"onePixel",
     [](const fs::path& file) {
       const auto png = file.string() + ".png";
       writeWhole(png, changed(readWhole(png), 3));
     },
     "pixels",
     R"("expected": {"width": 1014, "height": 474}, "actual": {"width": 1014, "height": 474}, "pixels": 1, "largest": 3, "mean": 2e-6)"},
    {"otherSize",
     [](const fs::path& file) {
       writeWhole(file.string() + ".png",
                  platform::PNGEncoder().encode({.width = 2, .height = 1, .pixels = {0, 0}}));
     },
     "size",
     R"("expected": {"width": 2, "height": 1}, "actual": {"width": 1014, "height": 474})"},
    {"missing",
     [](const fs::path& file) { fs::remove(file.string() + ".png"); },
     "missing",
     R"("expected": null, "actual": {"width": 1014, "height": 474})"},
    {"notAnImage",
     [](const fs::path& file) { writeWhole(file.string() + ".png", "text"); },
     "unreadable",
     nullptr},
    {"otherLinks",
     [](const fs::path& file) { writeWhole(file.string() + ".json", "{}\n"); },
     "display-list",
     nullptr},
};

class Goldens : public ::testing::TestWithParam<Change> {
 protected:
  void SetUp() override {
    // The sheet is the same every time, so it is made once.
    static const Folder made;
    static const ProgramEnd ran = sheet({"-o", made.path().string()});
    ASSERT_EQ(ran.status, 0) << ran.err;
    fs::copy(made.path(), goldens_, fs::copy_options::recursive);
  }

  ProgramEnd verify(Words more = {}) const {
    Words words = {"--verify", goldens_.string()};
    words.insert(words.end(), more.begin(), more.end());
    return sheet(words);
  }
  /// Without --accepted-findings.
  ProgramEnd verifyByOwnFindings() const {
    return run(GLANCERY_BUILD "/glancery",
               {"sheet", "--quick", "--only", "Checkin", "--verify", goldens_.string()});
  }
  Json report() const {
    return Json::parse(readWhole(folder_.path() / "goldens-report/report.json"));
  }

  Folder folder_;
  fs::path goldens_ = folder_.path() / "goldens";
};

TEST_P(Goldens, DifferInWhatIsSeen) {
  GetParam().make(goldens_ / kSignedIn);
  const auto before = contents(goldens_);
  const ProgramEnd ran = verify();
  EXPECT_EQ(contents(goldens_), before) << "--verify changes nothing there";
  const Json differences = report()["differences"];
  const auto shown = contents(folder_.path() / "goldens-report");
  if (!GetParam().kind) {
    EXPECT_EQ(ran.status, 0) << ran.err << differences;
    EXPECT_EQ(differences, Json::array());
    EXPECT_EQ(shown.size(), 2u);
    return;
  }
  EXPECT_EQ(ran.status, 3);
  EXPECT_THAT(ran.err, HasSubstr("1 picture differs from " + goldens_.string()));
  ASSERT_EQ(differences.size(), 1u);
  Json difference = differences[0];
  EXPECT_EQ(difference["name"], kSignedIn);
  EXPECT_EQ(difference["kind"], GetParam().kind);
  if (GetParam().says) {
    Json numbers = Json::parse(std::string("{") + GetParam().says + "}");
    difference.erase("name");
    difference.erase("kind");
    EXPECT_EQ(difference, numbers);
  }
  const auto has = [&](const std::string& folder) {
    return shown.contains(folder + "/" + kSignedIn + ".png");
  };
  const std::string kind = GetParam().kind;
  EXPECT_TRUE(has("actual"));
  EXPECT_EQ(has("expected"), kind == "pixels" || kind == "size");
  EXPECT_EQ(has("difference"), kind == "pixels");

  const ProgramEnd accepted = verify({"--accept"});
  EXPECT_EQ(accepted.status, 0) << accepted.err;
  EXPECT_THAT(accepted.out, HasSubstr("1 accepted"));
  EXPECT_EQ(verify().status, 0) << "the accepted image is the golden one now";
}

INSTANTIATE_TEST_SUITE_P(Changes, Goldens, ::testing::ValuesIn(kChanges), [](const auto& row) {
  return std::string(row.param.name);
});

TEST_F(Goldens, AreDifferentWhileThereAreExtraOnes) {
  writeWhole(goldens_ / "Checkin/dance.png", "text");
  // Of another widget, and of a device that --quick leaves out: not extra.
  writeWhole(goldens_ / "Binnacle/dance.png", "text");
  writeWhole(goldens_ / "Checkin/signed-in.fr_FR.390x844.light.17.0.png", "text");
  EXPECT_EQ(verify().status, 3);
  EXPECT_EQ(report()["differences"],
            Json::parse(R"([{"name": "Checkin/dance", "kind": "extra"}])"));
  EXPECT_EQ(verify({"--accept"}).status, 0);
  EXPECT_FALSE(fs::exists(goldens_ / "Checkin/dance.png"));
  EXPECT_TRUE(fs::exists(goldens_ / "Binnacle/dance.png"));
}

TEST_F(Goldens, FailOnAFindingThatIsNotAccepted) {
  const fs::path accepted = goldens_ / "accepted-findings.json";
  const std::string all = readWhole(GLANCERY_TEST_DATA "/accepted_findings.json");
  writeWhole(accepted, all);
  EXPECT_EQ(verifyByOwnFindings().status, 0);
  EXPECT_EQ(report()["findings"][0]["findings"][0]["accepted"], Json::parse(all)[0]["reason"]);

  writeWhole(accepted, Json::array({Json::parse(all)[0]}).dump());
  const ProgramEnd fresh = verifyByOwnFindings();
  EXPECT_EQ(fresh.status, 3);
  EXPECT_THAT(fresh.err, HasSubstr("new findings: fix the cause, or accept it"));

  for (const char* reason : {"", R"(, "reason": "")"}) {
    writeWhole(accepted,
               R"([{"widget": "Checkin", "check": "low-contrast")" + std::string(reason) + "}]");
    const ProgramEnd noReason = verifyByOwnFindings();
    EXPECT_EQ(noReason.status, 1);
    EXPECT_THAT(noReason.err, HasSubstr("entry 1 is not a valid accepted finding"));
  }
}

TEST_F(Goldens, AreMadeByAcceptingThem) {
  fs::remove_all(goldens_);
  const ProgramEnd none = verify();
  EXPECT_EQ(none.status, 1);
  EXPECT_THAT(none.err, HasSubstr("no goldens at " + goldens_.string()));
  EXPECT_EQ(verify({"--accept"}).status, 0);
  EXPECT_EQ(contents(goldens_).size(), 11u);
  EXPECT_EQ(verifyByOwnFindings().status, 0) << "the accepted findings are copied";
  writeWhole(goldens_ / "accepted-findings.json", "[]");
  EXPECT_EQ(verify({"--accept"}).status, 0);
  EXPECT_EQ(readWhole(goldens_ / "accepted-findings.json"), "[]") << "an own file is kept";
}

TEST(Sheet, NamesBadInput) {
  const Folder folder;
  writeWhole(folder.path() / "notes.txt", "mine");
  const std::tuple<Words, int, const char*> kMistakes[] = {
      {{}, 2, "give -o DIR, or --verify GOLDENS"},
      {{"-o", "a", "--accept"}, 2, "--accept goes with --verify"},
      {{"-o", folder.path().string()}, 1, "\"notes.txt\", which is not part of a sheet"},
      {{"-o", (folder.path() / "a").string(), "--extension", "/nonexistent.appex"},
       1,
       "/nonexistent.appex"},
  };
  for (const auto& [words, status, says] : kMistakes) {
    const ProgramEnd ran = sheet(words);
    EXPECT_EQ(ran.status, status);
    EXPECT_THAT(ran.err, HasSubstr(says));
  }
  const ProgramEnd ran =
      run(std::string(GLANCERY_BUILD) + "/glancery", {"sheet", "-o", "a", "--only", "Clock"});
  EXPECT_EQ(ran.status, 2);
  EXPECT_THAT(ran.err, HasSubstr("\"Clock\": give one of Checkin, StreakWidget"));
}

}  // namespace
