#include "platform/foundation/data/property_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace platform {

namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

std::expected<Value, NSError> read(std::string_view bytes) {
  return NSPropertyListSerialization::propertyListWithData(bytes);
}

std::expected<std::string, NSError> write(const Value& value) {
  return NSPropertyListSerialization::dataWithPropertyList(value);
}

std::string errorOf(std::string_view bytes) {
  const auto value = read(bytes);
  return value ? "it was read" : value.error().debugDescription;
}

Value nested(int depth) {
  Value value = Array();
  for (int i = 1; i < depth; ++i) {
    value = Array{std::move(value)};
  }
  return value;
}

Array numbersUpTo(int count) {
  Array numbers;
  for (int i = 0; i < count; ++i) {
    numbers.emplace_back(i);
  }
  return numbers;
}

const Value kSuite = Dictionary{
    {"", ""},
    {"data", Array{Data{""}, Data{"\xFF"}, Data{std::string(300, '\0')}}},
    {"date", Date::since1970(1700000000.25)},
    {"integers", Array{0, 255, 256, 65536, INT64_MAX, -1, INT64_MIN}},
    {"llave ñ", Dictionary{{"nested", Array{Dictionary(), Array()}}}},
    {"reals", Array{0.1, -2.5, 5.0, 1e300, HUGE_VAL}},
    {"texts", Array{"Mié", "👍", "\U0010FFFF", std::string("a\0b", 3), std::string(70'000, 'x')}},
    {"truths", Array{true, false}},
};

TEST(PropertyList, ReadsWhatItWrote) {
  const Value values[] = {
      kSuite,
      7,
      "alone",
      Date::since1970(0),
      // Needs object numbers of two bytes and offsets of more than two.
      numbersUpTo(70'000),
      nested(512),
  };
  for (const Value& value : values) {
    const auto bytes = write(value);
    ASSERT_TRUE(bytes) << bytes.error();
    EXPECT_TRUE(*read(*bytes) == value);
  }
}

// libplist reads what the writer wrote.
TEST(PropertyList, IsReadByLibplist) {
  const std::string bytes = *write(Dictionary{{"count", -7},
                                              {"date", Date::since1970(1700000000)},
                                              {"list", Array{true, 1.5, Data{"abc"}, "Mié 👍"}},
                                              {"long", numbersUpTo(300)}});
  plist_t parsed = nullptr;
  plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &parsed);
  ASSERT_NE(parsed, nullptr);
  const std::unique_ptr<void, decltype(&plist_free)> node(parsed, plist_free);
  EXPECT_EQ(plist_array_get_size(plist_dict_get_item(parsed, "long")), 300u);
  char* text = nullptr;
  std::uint32_t size = 0;
  plist_to_xml(parsed, &text, &size);
  const std::unique_ptr<char, decltype(&std::free)> xml(text, std::free);
  EXPECT_THAT(std::string(text, size),
              AllOf(HasSubstr("<integer>-7</integer>"),
                    HasSubstr("<date>2023-11-14T22:13:20Z</date>"),
                    HasSubstr("<true/>"),
                    HasSubstr("<real>1.5"),
                    HasSubstr("YWJj"),
                    HasSubstr("<string>Mié 👍</string>"),
                    HasSubstr("<integer>299</integer>")));
}

// A file of another writer: small and 128-bit integers, another order of objects, shared scalars.
TEST(PropertyList, ReadsAnotherWritersFile) {
  constexpr std::string_view hex =
      "62706c6973743030d70102030405060708090a0b1213145464617461546461746555656d70747954"
      "696e7473547265616c5474657874537965734200ff3341c5821440200000d0a60c0d0e0f10111000"
      "10ff11ffff128000000013ffffffffffffffff140000000000000000ffffffffffffffff233ff800"
      "000000000066004d006900e90020d83ddc4d0908171c21272c31363a3d46474e5052555a63747d8a"
      "000000000000010100000000000000150000000000000000000000000000008b";
  std::string bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    bytes.push_back(
        static_cast<char>(std::strtol(std::string(hex.substr(i, 2)).c_str(), nullptr, 16)));
  }
  const Array integers = {0, 255, 65535, std::int64_t{1} << 31, -1, 18446744073709551615.0};
  EXPECT_EQ(*read(bytes),
            Value(Dictionary{{"data", Data{std::string("\0\xFF", 2)}},
                             {"date", Date::since1970(1700000000.25)},
                             {"empty", Dictionary()},
                             {"ints", integers},
                             {"real", 1.5},
                             {"text", "Mié 👍"},
                             {"yes", true}}));
}

// From the distant past to the distant future, in steps that reach every part of a day.
TEST(PropertyList, DatesComeBackEqualToTheMillisecond) {
  int different = 0;
  for (double day = -62135769600; day <= 64092211200; day += 86400 * 9.37) {
    for (const double millisecond : {0.0, 1.0, 250.0, 333.0, 999.0}) {
      const auto instant = Date::since1970((std::floor(day) * 1000 + millisecond) / 1000);
      const auto back = read(*write(instant));
      different += *back != Value(instant);
    }
  }
  EXPECT_EQ(different, 0);
  for (const double seconds : {0.1234567, -1e9 + 0.7654321, 1700000000.1234567}) {
    const double back = read(*write(Date::since1970(seconds)))->as<Date>()->timeIntervalSince1970();
    EXPECT_NEAR(back, seconds, 1e-6);
  }
}

TEST(PropertyList, ErrorsNameTheKeyThatCannotBeWritten) {
  const struct {
    Value value;
    const char* says;
  } cases[] = {
      {Value(), "null"},
      {Dictionary{{"a", Dictionary{{"b", Array{1, Null()}}}}}, "null under \"a.b[1]\""},
      {Dictionary{{"name", "\xC3("}}, "not UTF-8 under \"name\""},
      {Dictionary{{"\xFF", 1}}, "the key \"\uFFFD\""},
      {Dictionary{{"when", Date::since1970(HUGE_VAL)}}, "a date that is not finite under \"when\""},
      {nested(513), "nesting beyond 512 levels"},
  };
  for (const auto& row : cases) {
    const auto bytes = write(row.value);
    ASSERT_FALSE(bytes) << row.says;
    EXPECT_THAT(bytes.error().debugDescription, HasSubstr(row.says));
  }
}

/// A binary list of these objects, of which the first is the top.
std::string heap(const std::vector<std::string>& objects) {
  std::string bytes = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += static_cast<char>(bytes.size() >> 8);
    table += static_cast<char>(bytes.size() & 0xFF);
    bytes += object;
  }
  const auto number = [](std::size_t value) {
    std::string text(8, '\0');
    text[6] = static_cast<char>(value >> 8);
    text[7] = static_cast<char>(value & 0xFF);
    return text;
  };
  return bytes + table + std::string("\0\0\0\0\0\0\2\1", 8) + number(objects.size()) + number(0) +
         number(bytes.size());
}

/// Thirty levels of arrays, each referring to the next one many times: a few hundred bytes that
/// would unfold into more values than fit into memory.
std::string unfolding() {
  std::vector<std::string> objects;
  for (char next = 1; next <= 30; ++next) {
    objects.push_back("\xAE" + std::string(14, next));
  }
  objects.push_back("\xA0");
  return heap(objects);
}

TEST(PropertyList, RefusesBadBinaries) {
  const std::string real = *write(1.5);
  const struct {
    const char* name;
    std::string bytes;
    const char* says;
  } cases[] = {
      {"nothing", "", "there are no bytes"},
      {"something else", "{\"a\":1}", "neither as a binary nor as an XML list"},
      {"magic alone", "bplist00", "cut short"},
      {"trailer of zeros", "bplist00" + std::string(32, '\0'), "trailer"},
      {"no objects", heap({}), "object 0 does not exist"},
      {"reference to nowhere", heap({"\xA1\x05"}), "object 5 does not exist"},
      {"circle", heap({std::string("\xA1\0", 2)}), "refer"},
      {"circle in a large file",
       heap({std::string("\xA1\0", 2), std::string(1000, '\x09')}),
       "512 levels"},
      {"circle of two", heap({"\xA1\x01", std::string("\xD1\1\0", 3)}), "refer"},
      {"small file that unfolds without end", unfolding(), "refer"},
      {"UID longer than the file", heap({"\x8F\x01"}), "UID cut short"},
      {"set", heap({"\xC1\x01", "\x09"}), "no known type"},
      {"key that is not a string", heap({"\xD1\x01\x01", "\x09"}), "key that is not a string"},
      {"string longer than the file", heap({"\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}), "short"},
      {"array longer than the file", heap({"\xAF\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"}), "short"},
      {"dictionary of half of 2^64", heap({"\xDF\x13\x80" + std::string(7, '\0')}), "short"},
      {"length that is no integer", heap({"\x5F\x51"}), "outside the file"},
      {"integer of 32 bytes", heap({"\x15" + std::string(32, '\0')}), "integer cut short"},
      {"byte too few", real.substr(0, real.size() - 1), "trailer"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.name);
    EXPECT_THAT(errorOf(row.bytes), HasSubstr(row.says));
  }
}

// An object of an unsupported type does not affect others and is kept by a rewrite.
TEST(PropertyList, KeepsUnsupportedObjects) {
  const std::string objects[] = {
      std::string(1, '\0'),                    // null
      "\x80\x01",                              // UID of one byte
      "\x8F" + std::string(16, '\x02'),        // UID of sixteen
      "\x51\xFF",                              // bytes that are not UTF-8
      "\x5F\x10\x01\xFF",                      // the same with a long length
      std::string("\x61\xD8\x3D", 3),          // half a surrogate pair
      std::string("\x62\xDC\x4D\xDC\x4D", 5),  // two low halves
      std::string("\x62\xDC\x4D\xD8\x3D", 5),  // low half first
      "\x33\x7F\xF8" + std::string(6, '\0'),   // date that is NaN
  };
  for (const std::string& object : objects) {
    const auto list =
        read(heap({"\xD2\x01\x03\x02\x04", "\x51z", "\xA2\x05\x04", "\x51y", "\x09", object}));
    ASSERT_TRUE(list) << list.error();
    const Value wanted = Dictionary{{"y", true}, {"z", Array{UnsupportedObject{object}, true}}};
    EXPECT_EQ(*list, wanted);
    EXPECT_EQ(read(*write(*list)), wanted);
  }
}

// What the reader accepts from damaged bytes can be written and read again.
void expectWholeOrRefused(const std::string& bytes) {
  if (const auto value = read(bytes)) {
    const auto again = write(*value);
    ASSERT_TRUE(again) << again.error();
    ASSERT_TRUE(read(*again));
  }
}

TEST(PropertyList, SurvivesMutations) {
  const Value suite = Dictionary{{"date", Date::since1970(1700000000.25)},
                                 {"list", Array{1, -1, 1.5, true, Data{"abc"}, Dictionary()}},
                                 {"text", "Mié 👍"}};
  const std::string seeds[] = {
      *write(suite),
      "<plist version=\"1.0\"><dict><key>a</key><integer>-5</integer><key>b</key><string>a&amp;b"
      "<![CDATA[<x>]]></string><!-- c "
      "--><key>u</key><uid>1</uid><key>d</key><date>2023-11-14T22:13:20Z</date><key>e</key>"
      "<data>AAEC</data><key>f</key><array><true/><real>1.5</real><dict/></array></dict></plist>"};
  std::mt19937 random(20'231'114);
  for (const std::string& seed : seeds) {
    for (std::size_t size = 0; size < seed.size(); ++size) {
      expectWholeOrRefused(seed.substr(0, size));
    }
    for (int i = 0; i < 50'000; ++i) {
      std::string bytes = seed;
      for (auto changes = 1 + random() % 4; changes > 0; --changes) {
        const auto at = random() % bytes.size();
        switch (random() % 4) {
          case 0:
            bytes[at] = static_cast<char>(random());
            break;
          case 1:
            bytes[at] = static_cast<char>(bytes[at] ^ 1 << random() % 8);
            break;
          case 2:
            bytes.insert(at, bytes.substr(random() % bytes.size(), random() % 32));
            break;
          default:
            bytes.erase(at, std::min<std::size_t>(random() % 8, bytes.size() - 1));
        }
      }
      expectWholeOrRefused(bytes);
      if (HasFatalFailure()) {
        return;
      }
    }
  }
}

}  // namespace

}  // namespace platform
