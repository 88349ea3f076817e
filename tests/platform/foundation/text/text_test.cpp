#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <span>
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

TEST(Scanner, ReadsOneNumberAfterTheOther) {
  NSScanner scanner(" \t0xFf 0XA\n10000000000000000 0x!");
  std::uint64_t value = 0;
  EXPECT_TRUE(scanner.scanHexLongLong(value));
  EXPECT_EQ(value, 0xFF);
  EXPECT_TRUE(scanner.scanHexLongLong(value));
  EXPECT_EQ(value, 0xA);
  EXPECT_TRUE(scanner.scanHexLongLong(value));
  EXPECT_EQ(value, std::numeric_limits<std::uint64_t>::max());
  EXPECT_TRUE(scanner.scanHexLongLong(value));
  EXPECT_EQ(value, 0);
  value = 7;
  EXPECT_FALSE(scanner.scanHexLongLong(value));
  EXPECT_EQ(value, 7);
}

TEST(Capitalized, AgreesWithThePlatform) {
  for (const auto& row : vectorRows("printed.json")) {
    if (row["kind"] == "capitalized") {
      EXPECT_EQ(capitalized(row["value"].get<std::string>()), row["text"]) << row;
    }
  }
}

/// Calls `check` with every text that takes one character of each of the sets.
template <class Check>
void forEachText(std::span<const std::string_view> sets,
                 const Check& check,
                 std::string text = {}) {
  if (sets.empty()) {
    check(text);
    return;
  }
  for (const char c : sets.front()) {
    forEachText(sets.subspan(1), check, text + c);
  }
}

// ASCII has word rules of its own here; an arrow behind it sends the same text through ICU's.
TEST(Capitalized, FindsTheSameWordsInASCIIAsICU) {
  std::string ascii;
  for (char c = 0; c >= 0 && c < 127; ++c) {
    ascii += c;
  }
  constexpr std::string_view signs = "aZ1_.:',;@- \r\n";
  const auto check = [](const std::string& text) {
    ASSERT_EQ(capitalized(text) + "→", capitalized(text + "→"));
  };
  forEachText(std::array<std::string_view, 4>{signs, signs, signs, signs}, check);
  forEachText(std::array<std::string_view, 3>{signs, ascii, signs}, check);
}

struct CapitalizedCase {
  std::string_view text;
  std::string_view expected;
};

const CapitalizedCase kCapitalized[] = {
    {"", ""},
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

// Text from outside may be anything: every cut and every changed byte of some of it.
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
