#include <gtest/gtest.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "store/shared_store.h"
#include "tests/host/command_line.h"

namespace {

namespace fs = std::filesystem;
using namespace world;
using Json = nlohmann::ordered_json;

/// The built extension with one more localisation, whose texts are the Spanish ones.
class Extension : public Folder {
 public:
  explicit Extension(const std::string& language) {
    fs::copy(GLANCERY_BUILD "/Glancery.appex", path(), fs::copy_options::recursive);
    const fs::path file = path() / "Localizable.xcstrings";
    Json catalogue = Json::parse(readWhole(file));
    for (auto& [key, entry] : catalogue["strings"].items()) {
      if (auto& texts = entry["localizations"]; texts.contains("es")) {
        texts[language] = texts["es"];
      }
    }
    writeWhole(file, catalogue.dump());
  }
};

/// A signed-in user's phone with an affirmation.
class UsedPhone : public Phone {
 public:
  UsedPhone() {
    glancery({"app", "sign-in", "u"});
    glancery({"store",
              "set",
              glancery::kAffirmationDataKey,
              R"({"text": "Respira", "color": "blush"})",
              "--type",
              "text-data"});
    glancery({"store", "set", glancery::kAffirmationLastFetchKey, kNow, "--type", "date"});
  }

  /// The widget's display list.
  Json shown(const std::string& kind, const Extension& extension, const std::string& locale) const {
    const fs::path list = file("list.json");
    const ProgramEnd ran = glancery({"render",
                                     kind,
                                     "-o",
                                     list.string(),
                                     "--extension",
                                     extension.path().string(),
                                     "--locale",
                                     locale,
                                     "--now",
                                     kNow,
                                     "--time-zone",
                                     "UTC"});
    EXPECT_EQ(ran.status, 0) << ran.err;
    Json shown = Json::parse(readWhole(list));
    if (kind == "Checkin") {
      // The date at the end depends on the locale, and the heights of the others on the date's.
      Json& items = shown["items"];
      items.erase(items.size() - 1);
      for (Json& item : items) {
        item["frame"][1] = 0;
      }
    }
    return shown;
  }

 private:
  static constexpr const char* kNow = "2024-03-05T10:00:00Z";
};

Json mirrored(Json list) {
  for (Json& item : list["items"]) {
    Json& frame = item["frame"];
    frame[0] =
        list["size"]["width"].get<double>() - frame[0].get<double>() - frame[2].get<double>();
    if (item.value("alignment", "") == "leading") {
      item["alignment"] = "trailing";
    }
  }
  return list;
}

void expectEqual(Json list, Json expected) {
  ASSERT_EQ(list["items"].size(), expected["items"].size());
  for (std::size_t i = 0; i < list["items"].size(); ++i) {
    Json& x = list["items"][i]["frame"][0];
    EXPECT_NEAR(x.get<double>(), expected["items"][i]["frame"][0].get<double>(), 0.002);
    x = expected["items"][i]["frame"][0];  // Lists have rounded numbers.
  }
  EXPECT_EQ(list, expected);
}

struct Case {
  const char* language;
  const char* locale;
  bool mirrored;
};

TEST(RightToLeft, MirrorsWidgetsInARightToLeftLocalisation) {
  const UsedPhone phone;
  for (const Case& row : {Case{"ar", "ar_EG", true},
                          Case{"he", "he_IL", true},
                          Case{"ar", "es_MX", false},
                          Case{"it", "ar_EG", false}}) {
    const Extension extension(row.language);
    for (const char* kind : {"Checkin", "StreakWidget", "AffirmationWidget"}) {
      const Json plain = phone.shown(kind, extension, "es_ES");
      SCOPED_TRACE(std::string(kind) + ", " + row.language + ", " + row.locale);
      expectEqual(phone.shown(kind, extension, row.locale), row.mirrored ? mirrored(plain) : plain);
    }
  }
}

}  // namespace
