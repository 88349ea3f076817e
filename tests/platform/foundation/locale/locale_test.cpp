#include "platform/foundation/locale/locale.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "tests/on_device.h"

namespace platform {
namespace {

struct Case {
  std::string_view identifier;
  std::string_view language;
};

const Case kKnown[] = {
    {"es", "es"},
    {"es_MX", "es"},
    {"es-MX", "es"},
    {"ES_mx", "es"},
    {"zh-Hant-TW", "zh"},
    {"yue_HK", "yue"},
    {"es_419", "es"},
    {"ar_EG@numbers=latn", "ar"},
    {"ar_EG@numbers=latn;calendar=gregorian", "ar"},
    {"en@timezone=Europe/Madrid", "en"},
};

TEST(Locale, KnowsLanguages) {
  for (const auto& row : kKnown) {
    const auto locale = Locale::withIdentifier(row.identifier);
    ASSERT_TRUE(locale) << row.identifier;
    EXPECT_EQ(locale->identifier(), row.identifier);
    EXPECT_EQ(locale->languageCode(), row.language);
  }
}

TEST(Locale, RefusesWhatNamesNone) {
  // clang-format off
  for (const std::string_view identifier : {
        "", "_MX", "C", "xx", "xx_MX", "klingon", "es_", "es__MX", "es MX", " es", "es.UTF-8",
        "es_MX@", "es_MX@numbers", "es_MX@numbers=", "es_MX@numbers=latn;", "es/../en",
        "espa\xC3\xB1ol", "es_waytoolongsubtag", "1"}) {
    // clang-format on
    EXPECT_FALSE(Locale::withIdentifier(identifier)) << identifier;
  }
}

TEST(Locale, CurrentFollowsTheDevice) {
  const OnDevice french({.locale = "fr-CA"});
  EXPECT_EQ(Locale::current().identifier(), "fr-CA");
  EXPECT_EQ(Locale::current().languageCode(), "fr");
  const OnDevice none({.locale = "C"});
  EXPECT_EQ(Locale::current().languageCode(), std::nullopt);
}

}  // namespace
}  // namespace platform
