#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "platform/foundation/data/debug_description.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/data/plain_strings.h"
#include "platform/foundation/text/uuid.h"
#include "tests/vectors.h"

namespace platform {
namespace {

using Members = std::vector<Dictionary::Member>;

TEST(Dictionary, OfMembersInAnyOrderKeepsTheLastOfEqualKeys) {
  Dictionary oneByOne;
  Members members;
  for (const auto& [key, value] : std::initializer_list<std::pair<const char*, int>>{
           {"b", 1}, {"a", 2}, {"b", 3}, {"", 4}, {"a", 5}, {"c", 6}, {"b", 7}}) {
    oneByOne.set(key, value);
    members.emplace_back(key, value);
  }
  const Dictionary expected{{"", 4}, {"a", 5}, {"b", 7}, {"c", 6}};
  EXPECT_EQ(oneByOne, expected);
  EXPECT_EQ(Dictionary(members), expected);
  EXPECT_EQ(*expected.find("b"), Value(7));
  EXPECT_EQ(expected.find("bb"), nullptr);
  oneByOne.remove("a");
  oneByOne.remove("aa");
  EXPECT_EQ(oneByOne, (Dictionary{{"", 4}, {"b", 7}, {"c", 6}}));
}

TEST(Dictionary, PrintsAsThePlatformDoes) {
  EXPECT_EQ(debugDescription({}), "[:]");
  EXPECT_EQ(debugDescription({{"b", "2"}, {"a", "1"}}), R"(["a": "1", "b": "2"])");
  for (const auto& row : vectorRows("printed.json")) {
    if (row["kind"] == "dictionary") {
      const Dictionary strings{{row["key"].get<std::string>(), row["value"].get<std::string>()}};
      EXPECT_EQ(debugDescription(strings), row["text"]) << row;
    }
  }
}

/// The members of an object of strings as another parser reads it; nothing for any other text.
std::optional<Dictionary> readByAnother(const std::string& json) {
  const auto parsed = nlohmann::json::parse(json, nullptr, false);
  if (!parsed.is_object()) {
    return std::nullopt;
  }
  Members members;
  for (const auto& [key, value] : parsed.items()) {
    if (!value.is_string()) {
      return std::nullopt;
    }
    members.emplace_back(key, value.get<std::string>());
  }
  return Dictionary(members);
}

// Records of plain strings have a reader of their own. Wherever it gives an answer, it must be the
// one that all of JSON's rules lead to.
TEST(PlainStrings, AreReadAsTheWholeGrammarReadsThem) {
  const std::string record = "{ \"2025-03-05\":\"veryWell\" ,\n\"día\":\"👍\", \"a\":\"\"}";
  ASSERT_EQ(parsePlainStrings(record), readByAnother(record));
  ASSERT_TRUE(parsePlainStrings(record));
  ASSERT_EQ(parsePlainStrings(" {} "), Dictionary());
  int answers = 0;
  const auto check = [&](const std::string& text) {
    if (const auto read = parsePlainStrings(text)) {
      ++answers;
      ASSERT_EQ(read, readByAnother(text)) << text;
    }
  };
  for (std::size_t at = 0; at < record.size(); ++at) {
    check(record.substr(0, at));
    for (int byte = 0; byte < 256; ++byte) {
      std::string changed = record;
      changed[at] = static_cast<char>(byte);
      check(changed);
      check(record.substr(0, at) + static_cast<char>(byte) + record.substr(at));
    }
  }
  EXPECT_GT(answers, 5000);
  check(R"({"a":"1","b":"2","a":"3"})");
  EXPECT_EQ(parsePlainStrings(R"({"a":"1"}x)"), std::nullopt);
  EXPECT_EQ(parsePlainStrings(R"({"a":"1"})"
                              "\xEF\xBB\xBF"),
            std::nullopt);
}

TEST(UUID, IsRandomAndSaysSo) {
  const std::string text = UUID().uuidString();
  ASSERT_EQ(text.size(), 36u);
  EXPECT_EQ(text.find_first_not_of("0123456789ABCDEF-"), std::string::npos) << text;
  EXPECT_EQ(text[14], '4');
  EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
  EXPECT_NE(UUID(), UUID());
}

}  // namespace
}  // namespace platform
