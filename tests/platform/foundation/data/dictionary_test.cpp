#include <gtest/gtest.h>

#include "platform/foundation/data/debug_description.h"
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
