#include "platform/foundation/bundle/bundle.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "platform/foundation/bundle/string_catalog.h"
#include "tests/world.h"

namespace platform {
namespace {

using Languages = std::vector<std::string>;

TEST(PreferredLocalization, WalksTheUsersLanguages) {
  const Languages available = {"en", "es", "pt", "zh-Hant"};
  const std::pair<Languages, std::string> kCases[] = {
      {{"es"}, "es"},
      {{"es-MX"}, "es"},
      {{"es_419"}, "es"},
      {{"de", "pt-BR", "en"}, "pt"},
      {{"zh-Hant-TW"}, "zh-Hant"},
      {{"zh-Hans"}, "dev"},
      {{"ar_EG@numbers=latn", "en"}, "en"},
      {{"de", "fr"}, "dev"},
      {{}, "dev"},
      {{""}, "dev"},
  };
  for (const auto& [preferred, expected] : kCases) {
    EXPECT_EQ(preferredLocalization(available, preferred, "dev"), expected);
  }
  // Never from a plain language to a regional one.
  EXPECT_EQ(preferredLocalization({"pt-BR"}, {"pt"}, "dev"), "dev");
}

TEST(FormatArguments, TakesArgumentsInOrderOrByPosition) {
  const std::tuple<std::string, std::vector<std::int64_t>, std::string> kCases[] = {
      {"%lld", {1234567}, "1234567"},
      {"%d of %ld", {-1, 2}, "-1 of 2"},
      {"%2$lld/%1$lld", {1, 2}, "2/1"},
      {"%1$@ %@", {5}, "5 5"},
      {"100%% of %@", {3}, "100% of 3"},
      {"%lld and %lld", {1}, "1 and %lld"},
      {"%3$lld", {1}, "%3$lld"},
      {"50% off", {1}, "50% off"},
      {"%", {1}, "%"},
      {"%99999999999999999999$d", {1}, "%99999999999999999999$d"},
  };
  for (const auto& [format, arguments, expected] : kCases) {
    EXPECT_EQ(formatArguments(format, arguments), expected) << format;
  }
}

constexpr std::string_view kCatalog = R"({"sourceLanguage": "es", "version": "1.0", "strings": {
  "HELLO": {"localizations": {
    "es": {"stringUnit": {"state": "translated", "value": "Hola"}},
    "en": {"stringUnit": {"state": "translated", "value": "Hello"}}}},
  "ONLY_ES": {"localizations": {"es": {"stringUnit": {"value": "Solo"}}}},
  "DAYS": {"localizations": {
    "en": {"variations": {"plural": {
      "one": {"stringUnit": {"value": "%lld day"}},
      "other": {"stringUnit": {"value": "%lld days"}}}}},
    "es": {"variations": {"device": {
      "ipad": {"stringUnit": {"value": "ipad"}},
      "other": {"stringUnit": {"value": "otro"}}}}}}},
  "BARE": {}}})";

TEST(NSBundle, LocalizesInTheDevicesLanguage) {
  const world::Folder folder;
  world::writeWhole(folder.path() / "Localizable.xcstrings", kCatalog);
  const NSBundle bundle(folder.path());
  const auto in = [&](std::string locale, std::string_view key, std::int64_t number = 0) {
    setCurrentDevice({.locale = std::move(locale)});
    return bundle.localizedString(key, {number});
  };
  EXPECT_EQ(in("en_GB", "HELLO"), "Hello");
  EXPECT_EQ(in("ja_JP", "HELLO"), "Hola")
      << "an unknown language falls back to the source language";
  EXPECT_EQ(in("en_GB", "ONLY_ES"), "ONLY_ES") << "a language without the key shows the key";
  EXPECT_EQ(in("en_GB", "BARE"), "BARE");
  EXPECT_EQ(in("en_GB", "NOWHERE %lld", 3), "NOWHERE 3");
  EXPECT_EQ(in("en_GB", "DAYS", 1), "1 day");
  EXPECT_EQ(in("en_GB", "DAYS", 0), "0 days");
  EXPECT_EQ(in("es_MX", "DAYS", 1), "otro");
}

TEST(NSBundle, OverridesInfoValues) {
  const world::Folder folder;
  world::writeWhole(folder.path() / "Info.plist",
                    "<plist version=\"1.0\"><dict><key>A</key><string>a</string>"
                    "<key>B</key><string>b</string></dict></plist>");
  const auto info = NSBundle(folder.path(), {{"B", "other"}}).infoDictionary();
  EXPECT_EQ(info, (Dictionary{{"A", "a"}, {"B", "other"}}));
  EXPECT_EQ(NSBundle(folder.path() / "none").infoDictionary(), std::nullopt);
}

TEST(StringCatalog, NamesWhatIsWrong) {
  const std::pair<const char*, const char*> kCases[] = {
      {"{", "unexpected end of input"},
      {"[]", "needs \"sourceLanguage\" and \"strings\""},
      {R"({"sourceLanguage": "es"})", "needs \"sourceLanguage\" and \"strings\""},
  };
  for (const auto& [json, message] : kCases) {
    const auto catalog = StringCatalog::parse(Data{json});
    ASSERT_FALSE(catalog) << json;
    EXPECT_NE(catalog.error().find(message), std::string::npos) << catalog.error();
  }
}

TEST(StringCatalog, AnEntryInAnUnsupportedFormShowsAsItsKeyAndHarmsNoOther) {
  const world::Folder folder;
  world::writeWhole(folder.path() / "Localizable.xcstrings",
                    R"({"sourceLanguage": "es", "strings": {
    "NUMBER": 1,
    "TABLES": {"localizations": [1]},
    "LANGUAGE": {"localizations": {"es": "texto"}},
    "GAPS": {"localizations": {"es": {"stringUnit": {"value": "%#@days@"},
             "substitutions": {"days": {"argNum": 1}}}}},
    "GOOD": {"localizations": {"es": {"stringUnit": {"value": "bien"}}}}}})");
  const NSBundle bundle(folder.path());
  for (const char* key : {"NUMBER", "TABLES", "LANGUAGE", "GAPS"}) {
    EXPECT_EQ(bundle.localizedString(key), key);
  }
  EXPECT_EQ(bundle.localizedString("GOOD"), "bien");
}

TEST(NSBundle, ACatalogueThatCantBeReadIsNamedOnceAndTheLastGoodOneStays) {
  const world::Folder folder;
  const auto file = folder.path() / "Localizable.xcstrings";
  setCurrentDevice({.locale = "en_GB"});
  const auto hello = [&] { return NSBundle(folder.path()).localizedString("HELLO"); };
  const auto complaints = [&](std::string_view content, const std::string& shown) {
    world::writeWhole(file, std::string(content));
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(hello(), shown);
    EXPECT_EQ(hello(), shown);
    return ::testing::internal::GetCapturedStderr();
  };
  const auto damaged = kCatalog.substr(0, 100);
  const std::string line = complaints(damaged, "HELLO");
  EXPECT_TRUE(line.starts_with(file.string() + " can't be read: invalid string")) << line;
  EXPECT_EQ(std::ranges::count(line, '\n'), 1) << line;
  EXPECT_EQ(complaints(kCatalog, "Hello"), "");
  EXPECT_EQ(complaints(damaged, "Hello"), line) << "a new fault is printed again";
  EXPECT_EQ(complaints("[]", "Hello"),
            file.string() +
                " can't be read: a string catalogue needs \"sourceLanguage\" and "
                "\"strings\"\n");
}

}  // namespace
}  // namespace platform
