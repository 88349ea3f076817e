#include "ui/hex_color.h"

#include <gtest/gtest.h>

#include <string_view>

namespace glancery {
namespace {

using platform::Color;

constexpr Color bytes(double r, double g, double b, double a = 255) {
  return {r / 255, g / 255, b / 255, a / 255};
}

const Color kUnusable = bytes(1, 1, 0, 1);

struct Case {
  std::string_view text;
  Color expected;
};

const Case kCases[] = {
    {"C02121", bytes(192, 33, 33)},
    {" #C02121\n", bytes(192, 33, 33)},
    {"D3810D", bytes(211, 129, 13)},
    {"F0A", bytes(255, 0, 170)},
    {"#f0a", bytes(255, 0, 170)},
    {"123", bytes(17, 34, 51)},
    {"80FF0000", bytes(255, 0, 0, 128)},
    {"12345678", bytes(0x34, 0x56, 0x78, 0x12)},
    // Characters count, not the digits that the scanner accepts.
    {"ZZZZZZ", bytes(0, 0, 0)},
    {"C0212Z", bytes(12, 2, 18)},
    {"12 456", bytes(0, 0, 18)},
    {"0xFFFF", bytes(0, 255, 255)},
    {"0xF", bytes(0, 0, 255)},
    // Characters outside ASCII count as well; combining ones count as one.
    {"ñandúe", bytes(0, 0, 0)},
    {"fe\u0301", kUnusable},
    {"12345", kUnusable},
    {"1234567", kUnusable},
    {"123456789", kUnusable},
    {"", kUnusable},
    {"#", kUnusable},
};

TEST(HexColor, ReadsThreeSixOrEightCharacters) {
  for (const Case& row : kCases) {
    const Color color = hexColor(row.text);
    EXPECT_DOUBLE_EQ(color.red, row.expected.red) << row.text;
    EXPECT_DOUBLE_EQ(color.green, row.expected.green) << row.text;
    EXPECT_DOUBLE_EQ(color.blue, row.expected.blue) << row.text;
    EXPECT_DOUBLE_EQ(color.opacity, row.expected.opacity) << row.text;
  }
}

}  // namespace
}  // namespace glancery
