#include "platform/foundation/text/base64.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

TEST(Base64, GoesThroughAndRefusesEverythingElse) {
  // The examples of RFC 4648, section 10, and bytes beyond ASCII.
  const std::pair<std::string, std::string> kCases[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"foobar", "Zm9vYmFy"},
      {std::string("\xFF\x00\xFE\x3E\x3F", 5), "/wD+Pj8="},
  };
  for (const auto& [bytes, text] : kCases) {
    EXPECT_EQ(encodeBase64(bytes), text);
    EXPECT_EQ(decodeBase64(text), bytes) << text;
  }
  for (const char* text :
       {"Z", "Zg", "Zg=", "Zg===", "Z===", "====", "Zh==", "Zm9=", "Zm 9", "Zg==Zg==", "Zm9v!"}) {
    EXPECT_EQ(decodeBase64(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace platform
