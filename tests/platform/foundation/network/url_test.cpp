#include "platform/foundation/network/url.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tests/vectors.h"

namespace platform {
namespace {

std::optional<std::string> textOrNothing(const nlohmann::json& value) {
  return value.is_null() ? std::nullopt : std::optional(value.get<std::string>());
}

TEST(URL, AgreesWithThePlatform) {
  for (const auto& row : vectorRows("url.json")) {
    SCOPED_TRACE(row.dump());
    const auto url = URL::fromString(row["input"].get<std::string>());
    ASSERT_EQ(url.has_value(), !row["absolute"].is_null());
    if (url) {
      EXPECT_EQ(url->absoluteString(), row["absolute"]);
      EXPECT_EQ(url->scheme(), textOrNothing(row["scheme"]));
      EXPECT_EQ(url->host(), textOrNothing(row["host"]));
    }
  }
}

struct Case {
  std::string_view input;
  std::string_view absolute;
  std::optional<std::string_view> host;
};

const Case kGood[] = {
    {"https://a?b c=[d]#e f", "https://a?b%20c=%5Bd%5D#e%20f", "a"},
    {"https://a/%41 %4", "https://a/%41%20%254", "a"},
    {"https://a:/x", "https://a:/x", "a"},
    {"https://[::ffff:1.2.3.4]", "https://[::ffff:1.2.3.4]", "::ffff:1.2.3.4"},
    {"http://[v1.a:b]/", "http://[v1.a:b]/", "v1.a:b"},
    {"https://u ser:p[w@h:1/x", "https://u%20ser:p%5Bw@h:1/x", "h"},
    {"https://ÑANDÚ.com", "https://xn--and-6ma2c.com", "xn--and-6ma2c.com"},
    {"https://例え.テスト:8080/", "https://xn--r8jz45g.xn--zckzah:8080/", "xn--r8jz45g.xn--zckzah"},
    {"mailto:a@b", "mailto:a@b", std::nullopt},
    {"file:///a/b", "file:///a/b", std::nullopt},
    {"//h/x", "//h/x", "h"},
    {"?q", "?q", std::nullopt},
    {"#f", "#f", std::nullopt},
    {"a/b:c", "a/b:c", std::nullopt},
};

TEST(URL, MendsWhatMayNotStandInIt) {
  for (const auto& row : kGood) {
    const auto url = URL::fromString(row.input);
    ASSERT_TRUE(url) << row.input;
    EXPECT_EQ(url->absoluteString(), row.absolute);
    EXPECT_EQ(url->host(), row.host) << row.input;
  }
}

TEST(URL, RefusesWhatCannotBeMended) {
  // clang-format off
  for (const std::string_view text : {
        "1a:b", "a b:c", " https://a", "https://a\nb/", "https://a%zz/", "https://a]/",
        "https://[]/", "https://[::1]x/", "https://[::1]x:80/", "https://[1.2.3.4]/",
        "https://[::1%25en0]/", "https://[v.a]/", "https://[::1", "https://u@v@h/", "https://a:-1/",
        "https://a: 1/", "https://ñ b/", "https://ñ..com/", "https://-ñ.com/", "https://a/\xC3",
        "https://\xFF/"}) {
    // clang-format on
    EXPECT_FALSE(URL::fromString(text)) << text;
  }
}

// What is accepted parses to itself and is printable ASCII.
TEST(URL, IsMendedOnce) {
  for (const std::string_view before :
       {"https://h/", "https://h/?", "https://h/#", "https://h:1", "https://", "a"}) {
    for (char32_t c = 0; c < 0x180; ++c) {
      std::string text(before);
      if (c < 0x80) {
        text += static_cast<char>(c);
      } else {
        text += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
      }
      const auto url = URL::fromString(text);
      if (!url) {
        continue;
      }
      EXPECT_EQ(URL::fromString(url->absoluteString()), url) << text;
      EXPECT_EQ(
          url->absoluteString().find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUV"
                                                  "WXYZ0123456789-._~:/?#[]@!$&'()*+,;=%"),
          std::string::npos)
          << url->absoluteString();
    }
  }
}

TEST(URL, OfAFileEncodesThePath) {
  EXPECT_EQ(URL::fileURLWithPath("/tmp/año 1/50%25?#.json").absoluteString(),
            "file:///tmp/a%C3%B1o%201/50%2525%3F%23.json");
  EXPECT_EQ(URL::fileURLWithPath("/tmp/\xFF").absoluteString(), "file:///tmp/%FF");
  EXPECT_EQ(URL::fileURLWithPath("x").absoluteString(),
            URL::fileURLWithPath(std::filesystem::current_path().string() + "/x").absoluteString());
}

}  // namespace
}  // namespace platform
