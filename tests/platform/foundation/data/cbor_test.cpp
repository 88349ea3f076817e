#include "platform/foundation/data/cbor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace platform {

namespace {

using ::testing::HasSubstr;

const Value kMessage = Dictionary{
    {"kind", "streak"},
    {"label", "Mié 👍"},
    {"numbers", Array{0, 23, -1, 256, 70'000, INT64_MAX, INT64_MIN, 0.1, 1.5, 1e300, -HUGE_VAL}},
    {"picture", Data{std::string("\0\xFF\x80", 3)}},
    {"rest", Array{true, false, Null(), Array(), Dictionary(), std::string("\0", 1)}},
};

Value nested(int depth) {
  Value value = Array();
  for (int i = 1; i < depth; ++i) {
    value = Dictionary{{"in", std::move(value)}};
  }
  return value;
}

TEST(CBOR, CarriesValuesUnchanged) {
  EXPECT_EQ(*decodeCBOR(*encodeCBOR(kMessage)), kMessage);
  EXPECT_TRUE(std::isnan(*decodeCBOR(*encodeCBOR(std::nan("")))->as<double>()));
  EXPECT_EQ(*decodeCBOR(*encodeCBOR(Date::since1970(1700000000.25))), Value(1700000000.25));
  const Value deepest = nested(kMaxCBORDepth);
  EXPECT_EQ(*decodeCBOR(*encodeCBOR(deepest)), deepest);
}

TEST(CBOR, CarriesNumbersAndLengthsOfEveryWidth) {
  for (const std::int64_t edge : {0LL, 23LL, 255LL, 65'535LL, 4'294'967'295LL}) {
    for (const std::int64_t number : {edge, edge + 1, -edge, -edge - 1, -edge - 2}) {
      EXPECT_EQ(*decodeCBOR(*encodeCBOR(number)), Value(number));
    }
  }
  for (const std::size_t length : {0, 23, 24, 255, 256, 65'535, 65'536}) {
    const std::string text(length, 'x');
    const Value all =
        Array{text, Data{text}, Array(std::vector<Value>(length)), Dictionary{{text, 1}}};
    EXPECT_EQ(*decodeCBOR(*encodeCBOR(all)), all) << length;
  }
}

// The examples of RFC 8949: what another encoder of the same value may send.
TEST(CBOR, ReadsTheStandardsExamples) {
  const struct {
    std::string bytes;
    Value value;
  } cases[] = {
      {std::string("\x00", 1), 0},
      {"\x18\x64", 100},
      {"\x1B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", 18446744073709551615.0},
      {"\x3B\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", -18446744073709551616.0},
      {std::string("\x3B\x80\0\0\0\0\0\0\0", 9), -0x1p63},
      {"\x3B\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF", INT64_MIN},
      {"\x38\x63", -100},
      {std::string("\xF9\x3E\x00", 3), 1.5},
      {std::string("\xFA\x47\xC3\x50\x00", 5), 100000.0},
      {"\x62\xC3\xBC", "ü"},
      {"\x5F\x42\x01\x02\x43\x03\x04\x05\xFF", Data{"\1\2\3\4\5"}},
      {"\x9F\x01\x82\x02\x03\xFF", Array{1, Array{2, 3}}},
      {"\xBF\x61\x61\x01\xFF", Dictionary{{"a", 1}}},
      {"\xA2\x61\x61\x01\x61\x61\x02", Dictionary{{"a", 2}}},
  };
  for (const auto& row : cases) {
    const auto value = decodeCBOR(row.bytes);
    ASSERT_TRUE(value) << value.error();
    EXPECT_EQ(*value, row.value) << testing::PrintToString(row.bytes);
  }
}

TEST(CBOR, RefusesWithASentence) {
  const struct {
    const char* name;
    std::string bytes;
    const char* says;
  } cases[] = {
      {"nothing", "", "unexpected end of input"},
      {"bytes after the value", std::string("\0\0", 2), "expected end of input"},
      {"text that is not UTF-8", "\x62\xC3(", "not UTF-8"},
      {"key that is not UTF-8", "\xA1\x61\xFF\x01", "not UTF-8"},
      {"key that is no text", "\xA1\x01\x01", "byte 2"},
      {"tag", "\xC1\x01", "0xC1"},
      {"undefined", "\xF7", "0xF7"},
      {"break without a start", "\xFF", "0xFF"},
      {"endless array", "\x9F\x01", "unexpected end of input"},
      {"array of 2^62", "\x9B\x40" + std::string(8, '\0'), "unexpected end"},
      {"map of 2^62", "\xBB\x40" + std::string(7, '\0'), "unexpected end"},
      {"text of 2^62", "\x7B\x40" + std::string(7, '\0') + "x", "unexpected end"},
      {"bytes of 2^62", "\x5B\x40" + std::string(7, '\0') + "x", "unexpected end"},
      {"one level too many", std::string(kMaxCBORDepth + 1, '\x81') + "\x01", "256 levels"},
      {"a megabyte of brackets", std::string(1 << 20, '\x9F'), "256 levels"},
      {"a megabyte of tags", std::string(1 << 20, '\xC1'), "0xC1"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    const auto value = decodeCBOR(row.bytes);
    ASSERT_FALSE(value);
    EXPECT_THAT(value.error(), HasSubstr(row.says));
  }
  EXPECT_THAT(encodeCBOR(nested(kMaxCBORDepth + 1)).error(), HasSubstr("deeper than 256 levels"));
  EXPECT_THAT(encodeCBOR(Dictionary{{"log", Array{"\xFF"}}}).error(),
              HasSubstr("not UTF-8 under \"log[0]\""));
  EXPECT_THAT(encodeCBOR(Dictionary{{"\xFF", 1}}).error(), HasSubstr("the key \"\uFFFD\""));
}

TEST(CBOR, SurvivesEveryTruncationAndByte) {
  const std::string message = *encodeCBOR(kMessage);
  for (std::size_t at = 0; at < message.size(); ++at) {
    EXPECT_FALSE(decodeCBOR(message.substr(0, at))) << at;
    for (int byte = 0; byte < 256; ++byte) {
      std::string damaged = message;
      damaged[at] = static_cast<char>(byte);
      if (const auto value = decodeCBOR(damaged)) {
        const auto again = encodeCBOR(*value);
        ASSERT_TRUE(again) << again.error();
        EXPECT_TRUE(decodeCBOR(*again));
      }
    }
  }
}

}  // namespace

}  // namespace platform
