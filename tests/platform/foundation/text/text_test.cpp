#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "platform/foundation/text/character_set.h"
#include "platform/foundation/text/scanner.h"
#include "platform/support/utf8.h"
#include "tests/vectors.h"

namespace platform {
namespace {

TEST(HexText, AgreesWithThePlatform) {
  for (const auto& row : vectorRows("hex.json")) {
    SCOPED_TRACE(row.dump());
    const std::string trimmed = trimmingNonAlphanumerics(row["input"].get<std::string>());
    std::uint64_t value = 0;
    EXPECT_EQ(trimmed, row["trimmed"]);
    EXPECT_EQ(characterCount(trimmed), row["characters"]);
    EXPECT_EQ(NSScanner(trimmed).scanHexLongLong(value), row["scanned"]);
    EXPECT_EQ(std::to_string(value), row["value"]);
  }
}

TEST(Scanner, ReadsHexadecimalNumbers) {
  constexpr std::uint64_t kUnread = 7;
  const struct {
    std::string_view text;
    bool scanned;
    std::uint64_t value;
  } cases[] = {
      {" \t0xFf 0XA", true, 0xFF},
      {"0XA\n", true, 0xA},
      {"10000000000000000", true, std::numeric_limits<std::uint64_t>::max()},
      {"0x!", true, 0},
      {"!", false, kUnread},
      {"-1", false, kUnread},
      {"+1", false, kUnread},
      {" ", false, kUnread},
      {"", false, kUnread},
      {{"A\0B", 3}, true, 0xA},
      {"\xFF", false, kUnread},
  };
  for (const auto& row : cases) {
    std::uint64_t value = kUnread;
    EXPECT_EQ(NSScanner(row.text).scanHexLongLong(value), row.scanned) << row.text;
    EXPECT_EQ(value, row.value) << row.text;
  }
}

TEST(Capitalized, AgreesWithThePlatform) {
  for (const auto& row : vectorRows("printed.json")) {
    if (row["kind"] == "capitalized") {
      EXPECT_EQ(capitalized(row["value"].get<std::string>()), row["text"]) << row;
    }
  }
}

struct CapitalizedCase {
  std::string_view text;
  std::string_view expected;
};

const CapitalizedCase kCapitalized[] = {
    {"", ""},
    {"lun.", "Lun."},
    {"LUN", "Lun"},
    {"o'neill e.g. a1b 1a it_was", "O'neill E.g. A1b 1A It_was"},
    {"mié", "Mié"},
    {"ÉTÉ", "Été"},
    {"éTÉ 2025, l’Été", "Été 2025, L’été"},
    {"ср", "Ср"},
    {"qua.", "Qua."},
    {"terça-feira", "Terça-Feira"},
    {"木", "木"},
    {"พฤ.", "พฤ."},
    {"أربعاء", "أربعاء"},
    {"木 lun", "木 Lun"},
    {"lun木mar", "Lun木Mar"},
};

TEST(Capitalized, TakesEachWordOfAnyScript) {
  for (const auto& row : kCapitalized) {
    EXPECT_EQ(capitalized(row.text), row.expected);
  }
}

struct CharactersCase {
  std::string_view name;
  std::string_view text;
  std::size_t count;
  std::string_view firstTwo;
};

const CharactersCase kCharacters[] = {
    {"empty", "", 0, ""},
    {"ASCII", "abc", 3, "ab"},
    {"line end of two bytes", "\r\n\r\nx", 3, "\r\n\r\n"},
    {"line ends of one byte", "\n\rx", 3, "\n\r"},
    {"precomposed", "ñoñ\r\n", 4, "ño"},
    {"combining", "e\u0301e\u0301e\u0301", 3, "e\u0301e\u0301"},
    {"line end beside combining", "\r\ne\u0301x", 3, "\r\ne\u0301"},
    {"family", "👨‍👩‍👧‍👦👍🏽x", 3, "👨‍👩‍👧‍👦👍🏽"},
    {"flags", "🇲🇽🇪🇸🇫🇷", 3, "🇲🇽🇪🇸"},
    {"Hangul of parts", "각각", 2, "각각"},
    {"Thai vowel above", "ที่ทำ", 2, "ที่ทำ"},
};

TEST(Characters, AreCountedAsPeopleDo) {
  for (const auto& row : kCharacters) {
    EXPECT_EQ(characterCount(row.text), row.count) << row.name;
    EXPECT_EQ(prefix(row.text, 2), row.firstTwo) << row.name;
    EXPECT_EQ(prefix(row.text, 100), row.text) << row.name;
    EXPECT_EQ(prefix(row.text, 0), "") << row.name;
  }
}

TEST(Trimming, WorksFromBothEnds) {
  EXPECT_EQ(trimmingNonAlphanumerics("«¿ñ-ñ?»"), "ñ-ñ");
  EXPECT_EQ(trimmingNonAlphanumerics("…🙂 "), "");
  EXPECT_EQ(trimmingNonAlphanumerics("(½)"), "½");
  EXPECT_EQ(trimmingNonAlphanumerics("\xC3(a)\xF0\x9F"), "a");
}

TEST(UTF8, IsToldFromOtherBytes) {
  for (const std::string_view text :
       {"", "a", "ñ", "\u0800", "\uD7FF", "\uFFFD", "\U00010000", "\U0010FFFF"}) {
    EXPECT_TRUE(isUTF8(text)) << text;
  }
  for (const std::string_view text : {"\x80",              // no lead
                                      "\xC3",              // cut short
                                      "a\xE2\x82",         //
                                      "\xC3(",             //
                                      "\xC0\x80",          // overlong
                                      "\xE0\x80\xAF",      //
                                      "\xF0\x80\x80\xAF",  //
                                      "\xED\xA0\x80",      // a surrogate
                                      "\xF4\x90\x80\x80",  // beyond the last code point
                                      "\xF8\x88\x80\x80\x80",
                                      "\xFF"}) {
    EXPECT_FALSE(isUTF8(text)) << text;
  }
}

// Every truncation and every changed byte of a text.
TEST(Text, SurvivesBytesThatAreNoUTF8) {
  const std::string whole = "l’Ét\u0301é 👨‍👩‍👧 ß\r\n木";
  const auto check = [](const std::string& text) {
    const std::size_t count = characterCount(text);
    EXPECT_EQ(prefix(text, count), text);
    EXPECT_LE(prefix(text, count / 2).size(), text.size());
    EXPECT_LE(trimmingNonAlphanumerics(text).size(), text.size());
    EXPECT_EQ(capitalized(text).empty(), text.empty());
  };
  for (std::size_t i = 0; i < whole.size(); ++i) {
    check(whole.substr(0, i));
    check(whole.substr(i));
    for (const char byte : {'\x80', '\xC0', '\xED', '\xF4', '\xFF', '\0'}) {
      std::string changed = whole;
      changed[i] = byte;
      check(changed);
    }
  }
}

}  // namespace
}  // namespace platform
