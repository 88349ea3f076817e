#include "platform/foundation/data/json_serialization.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "tests/vectors.h"

namespace platform {

namespace {

using nlohmann::json;
using ::testing::HasSubstr;

std::expected<Value, NSError> parse(std::string bytes) {
  return NSJSONSerialization::JSONObjectWithData({std::move(bytes)});
}

std::string write(const Value& value) {
  const auto data = NSJSONSerialization::dataWithJSONObject(value);
  return data ? data->bytes : data.error().debugDescription;
}

std::string nested(int depth, const std::string& inside = "") {
  return std::string(depth, '[') + inside + std::string(depth, ']');
}

template <class T>
json orNull(const std::optional<T>& value) {
  return value ? json(*value) : json();
}

/// The library that the rows come from refuses scalars at the top and allows trailing commas.
bool shouldParse(const json& row) {
  const std::string bytes = row.at("bytes");
  const bool scalar = bytes == "\"a\"" || bytes == "5" || bytes == "null" || bytes == "true";
  const bool trailingComma = bytes == "{\"a\":1,}";
  return scalar || (row.at("parses") && !trailingComma);
}

TEST(JSONSerialization, CastsAsThePlatformDoes) {
  for (const json& row : vectorRows("json.json")) {
    SCOPED_TRACE(row.dump());
    if (row.contains("depth")) {
      EXPECT_EQ(parse(nested(row["depth"])).has_value(), row["parses"].get<bool>());
      continue;
    }
    const auto value = parse(row["bytes"]);
    ASSERT_EQ(value.has_value(), shouldParse(row));
    if (!value || !row["parses"]) {
      continue;
    }
    const Dictionary* object = value->dictionary();
    ASSERT_EQ(object != nullptr, row["isDictionary"].get<bool>());
    if (object) {
      EXPECT_EQ(orNull(object->integer("count")), row["count"]);
      EXPECT_EQ(orNull(object->number("timestamp")), row["timestamp"]);
      EXPECT_EQ(orNull(object->string("text")), row["text"]);
      EXPECT_EQ(orNull(object->string("color")), row["color"]);
    }
  }
}

TEST(JSONSerialization, ErrorsSayWhatAndWhere) {
  const struct {
    std::string bytes;
    const char* says;
  } cases[] = {
      {"", "unexpected end of input at line 1, column 1"},
      {"{\"a\":}", "unexpected '}' at line 1, column 6"},
      {"[1]\n]", "unexpected ']' at line 2, column 1"},
      {"{\"a\" 1}", "unexpected number at line 1, column 6"},
      {"<html>", "unexpected text at line 1, column 1"},
      {"{\"text\":\"Hola", "invalid string: missing closing quote at line 1, column 14"},
      {std::string("{\"a\":1}\0rubbish", 15), "NUL at byte 7"},
      {"[1e400]", "number overflow parsing '1e400'"},
      {"[\"\xC3(\"]", "invalid string: ill-formed UTF-8 byte at line 1, column 4"},
      {"[\"\\ud83d\"]",
       "invalid string: surrogate U+D800..U+DBFF must be followed by U+DC00..U+DFFF at line 1, "
       "column 9"},
      {"[\"]\\\"[\"," + nested(512) + "]", "nested deeper than 512 levels at byte 519"},
      {nested(100'000), "nested deeper than 512 levels at byte 512"},
  };
  for (const auto& row : cases) {
    const auto value = parse(row.bytes);
    ASSERT_FALSE(value) << row.says;
    std::ostringstream printed;
    printed << value.error();
    EXPECT_EQ(printed.str(),
              "Error Domain=NSCocoaErrorDomain Code=3840 \"The data couldn’t be read because it "
              "isn’t in the correct format.\" UserInfo={NSDebugDescription=" +
                  std::string(row.says) + "}");
  }
}

// An error fits into a log line even if the input is not UTF-8 or is a megabyte long.
TEST(JSONSerialization, ErrorsStayShortAndReadable) {
  for (const std::string& bytes : {"[\"" + std::string(1 << 20, '\xF1'),
                                   "[\"" + std::string(1 << 20, 'x'),
                                   "[" + std::string(1 << 20, '9')}) {
    const std::string text = parse(bytes).error().debugDescription;
    EXPECT_LT(text.size(), 1000u);
    EXPECT_NO_THROW(json(text).dump());
  }
}

TEST(JSONSerialization, WritesAsThePlatformDoes) {
  for (const json& row : vectorRows("printed.json")) {
    if (row["kind"] == "jsonString") {
      const std::string value = row["value"];
      EXPECT_EQ(write(Dictionary{{"k", value}}), row["text"].get<std::string>());
    }
  }
  const Value all = Dictionary{{"a/b", Array{Null(), true, false, -7, INT64_MIN, "\x7F"}},
                               {"empty", Array{Array(), Dictionary()}}};
  EXPECT_EQ(write(all),
            "{\"a\\/b\":[null,true,false,-7,-9223372036854775808,\"\x7F\"],\"empty\":[[],{}]}");
  EXPECT_EQ(*parse(write(all)), all);
}

TEST(JSONSerialization, WritesTheShortestTextOfADouble) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {0.1, "0.1"},
      {5.0, "5"},
      {1700000000.25, "1700000000.25"},
      {1700000000.0, "1700000000"},
      {1e15, "1000000000000000"},
      {1e20, "1e+20"},
      {1e-7, "1e-07"},
      {5e-324, "5e-324"},
      {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
      {9007199254740993.0, "9007199254740992"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(write(row.value), row.text);
    EXPECT_EQ(parse(row.text)->number(), row.value);
  }
}

TEST(JSONSerialization, RefusesToWriteWhatJSONCannotHold) {
  Value deep = 1;
  for (int i = 0; i < 513; ++i) {
    deep = Array{std::move(deep)};
  }
  const struct {
    Value value;
    const char* says;
  } cases[] = {
      {Dictionary{{"a", Array{1, Data{"x"}}}}, "data under \"a[1]\""},
      {Dictionary{{"a", Dictionary{{"b", Date::since1970(0)}}}}, "a date under \"a.b\""},
      {Array{Dictionary{{"b", "\xFF"}}}, "not UTF-8 under \"[0].b\""},
      {Dictionary{{"\xFF", 1}}, "the key \"\uFFFD\""},
      {Dictionary{{"a", std::nan("")}}, "nan under \"a\""},
      {Dictionary{{"a", -HUGE_VAL}}, "-inf under \"a\""},
      {deep, "nesting beyond 512 levels"},
  };
  for (const auto& row : cases) {
    const auto data = NSJSONSerialization::dataWithJSONObject(row.value);
    ASSERT_FALSE(data) << row.says;
    EXPECT_THAT(data.error().debugDescription, HasSubstr(row.says));
  }
}

// A truncated or changed record is either read or refused; what is read can be written.
TEST(JSONSerialization, SurvivesEveryTruncationAndByte) {
  const std::string record =
      R"({"count":5,"timestamp":1700000000.25,"text":"Mi\u00e9 👍","x":[{}]})";
  ASSERT_TRUE(parse(record));
  for (std::size_t at = 0; at < record.size(); ++at) {
    EXPECT_FALSE(parse(record.substr(0, at))) << at;
    for (int byte = 0; byte < 256; ++byte) {
      std::string damaged = record;
      damaged[at] = static_cast<char>(byte);
      if (const auto value = parse(damaged)) {
        const auto text = write(*value);
        EXPECT_EQ(write(*parse(text)), text) << damaged;
      }
    }
  }
}

}  // namespace

}  // namespace platform
