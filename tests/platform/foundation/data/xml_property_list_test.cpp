#include "platform/foundation/data/xml_property_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/foundation/data/property_list.h"

namespace platform {

namespace {

using ::testing::HasSubstr;

TEST(XMLPropertyList, ReadsEveryType) {
  const std::string head =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist>\n<plist version=\"1.0\">";
  const struct {
    const char* xml;
    Value value;
  } cases[] = {
      {"<dict><key>a</key><integer> -5 </integer><key>b</key><true/></dict>",
       Dictionary{{"a", -5}, {"b", true}}},
      {"<array><string>&lt;ñ&amp;👍</string><string/><real>1.5e3</real><data> AAEC </data></array>",
       Array{"<ñ&👍", "", 1500.0, Data{std::string("\0\1\2", 3)}}},
      {"<array><date>0001-01-01T00:00:00Z</date><date>4001-01-01T00:00:00Z</date></array>",
       Array{Date::since1970(-62135596800), Date::since1970(64092211200)}},
      {"<integer>18446744073709551615</integer>", 18446744073709551615.0},
      {"<!-- note --><dict/>", Dictionary()},
      {"<array><integer>0x1F</integer><integer>-0X10</integer><integer>+7</integer>"
       "<integer>-9223372036854775808</integer></array>",
       Array{31, -16, 7, INT64_MIN}},
      {"<dict><!-- <key>x</key> --><key>a<![CDATA[<b>]]></key><string>1<!-- , -->2</string></dict>",
       Dictionary{{"a<b>", "12"}}},
      {"<array><string><![CDATA[<integer>abc</integer>]]></string></array>",
       Array{"<integer>abc</integer>"}},
      {"<dict><key>odd</key><uid n='1'>a&amp;<b/><!-- c --></uid><key>a</key><integer>1</integer>"
       "</dict>",
       Dictionary{{"a", 1}, {"odd", "<uid n='1'>a&amp;<b/><!-- c --></uid>"}}},
  };
  for (const auto& row : cases) {
    for (const char* mark : {"", "\xEF\xBB\xBF", "\n"}) {
      const auto value = readPropertyList(mark + head + row.xml + "</plist>\n");
      ASSERT_TRUE(value) << row.xml << value.error();
      EXPECT_EQ(*value, row.value) << row.xml;
    }
  }
}

TEST(XMLPropertyList, ReadsUTF16) {
  const std::string xml =
      "<?xml version='1.0' encoding='UTF-16'?><plist><string>a<!-- b --></string></plist>";
  for (const bool bigEndian : {false, true}) {
    for (const bool mark : {false, true}) {
      std::string bytes = mark ? (bigEndian ? "\xFE\xFF" : "\xFF\xFE") : "";
      for (const char c : xml) {
        bytes += bigEndian ? std::string{'\0', c} : std::string{c, '\0'};
      }
      EXPECT_EQ(readPropertyList(bytes), Value("a")) << bigEndian << mark;
    }
  }
}

TEST(XMLPropertyList, NamesWhatIsWrongAndTheLine) {
  const struct {
    std::string xml;
    const char* says;
  } cases[] = {
      {"<plist><dict>", "line 1: no element found"},
      {"<html></html>", "<html> is not a property list"},
      {"<plist/>", "there is no value"},
      {"<plist><true/><true/></plist>", "a second value"},
      {"<plist>text<true/></plist>", "text outside of a value: \"text\""},
      {"<plist><true/></plist>\n\n<plist/>", "line 3: junk"},
      {"<plist><dict><true/></dict></plist>", "a value has no key"},
      {"<plist><dict><key>a</key></dict></plist>", "\"a\" has no value"},
      {"<plist><dict><key>a</key><key>b</key><true/></dict></plist>", "\"a\" has no value"},
      {"<plist><array><key>a</key></array></plist>", "a key outside of a dictionary"},
      {"<plist><string>a<true/></string></plist>", "<string> holds an element"},
      {"<plist><dict><key>a&#0;b</key><true/></dict></plist>", "line 1"},
      {"<plist><string>&#xD800;</string></plist>", "invalid character"},
      {"<plist><string>\xFF</string></plist>", "line 1: not well-formed"},
      {"<plist><string>\xED\xA0\x80</string></plist>", "line 1: not well-formed"},
      {"<plist>\n<integer>abc</integer></plist>", "line 2: not a valid integer: \"abc\""},
      {"<plist><integer></integer></plist>", "not a valid integer"},
      {"<plist><integer>1 2</integer></plist>", "not a valid integer"},
      {"<plist><integer>--1</integer></plist>", "not a valid integer"},
      {"<plist><integer>0x</integer></plist>", "not a valid integer"},
      {"<plist><integer>12AB</integer></plist>", "not a valid integer"},
      {"<plist><integer>1<!-- -->x</integer></plist>", "not a valid integer"},
      {"<plist><integer>184467440737095516150</integer></plist>", "not a valid integer"},
      {"<plist><integer>-9223372036854775809</integer></plist>", "not a valid integer"},
      {"<plist><real>x</real></plist>", "not a valid real"},
      {"<plist><real>1.5.5</real></plist>", "not a valid real"},
      {"<plist><date>yesterday</date></plist>", "not a valid date: \"yesterday\""},
      {"<plist><date>2023-02-29T00:00:00Z</date></plist>", "not a valid date"},
      {"<plist><date>2023-11-14T25:00:00Z</date></plist>", "not a valid date"},
      {"<plist><data>!!</data></plist>", "not a valid data"},
      {"<plist><true>no</true></plist>", "not a valid true"},
      {"<!DOCTYPE plist [<!ENTITY a 'b'>]><plist><string>&a;</string></plist>", "entity a"},
      {"<!DOCTYPE plist SYSTEM 'x'><plist><string>&a;</string></plist>", "entity a is unknown"},
  };
  for (const auto& row : cases) {
    const auto value = readPropertyList(row.xml);
    ASSERT_FALSE(value) << row.xml;
    EXPECT_THAT(value.error(), HasSubstr(row.says)) << row.xml;
  }
  std::string deep = "<plist>";
  for (int i = 0; i < 1'000'000; ++i) {
    deep += "<array>";
  }
  EXPECT_THAT(readPropertyList(deep).error(), HasSubstr("nested deeper than 512 levels"));
}

}  // namespace

}  // namespace platform
