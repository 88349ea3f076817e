#include "platform/foundation/time/date.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>

#include "tests/vectors.h"

namespace platform {
namespace {

constexpr std::string_view kUnavailable = "<description unavailable>";

TEST(DateDescription, AgreesWithThePlatform) {
  for (const auto& row : vectorRows("printed.json")) {
    if (row["kind"] == "date") {
      EXPECT_EQ(Date::since1970(row["since1970"]).description(), row["text"]);
    }
  }
}

struct PrintedCase {
  double seconds;
  std::string_view description;
  std::string_view iso8601;
};

// Cutting and rounding differ, and before 1970 fractions are cut toward the past.
const PrintedCase kPrinted[] = {
    {-0.5, "1969-12-31 23:59:59 +0000", "1969-12-31T23:59:59.500Z"},
    {-0.0001, "1969-12-31 23:59:59 +0000", "1970-01-01T00:00:00.000Z"},
    {1700000000.9994, "2023-11-14 22:13:20 +0000", "2023-11-14T22:13:20.999Z"},
    {1700000000.9996, "2023-11-14 22:13:20 +0000", "2023-11-14T22:13:21.000Z"},
    {1709164800, "2024-02-29 00:00:00 +0000", "2024-02-29T00:00:00.000Z"},
    {-2203891200, "1900-03-01 00:00:00 +0000", "1900-03-01T00:00:00.000Z"},
    {-62135769600, "0000-12-30 00:00:00 +0000", "0000-12-30T00:00:00.000Z"},
    {-62135769600.5, kUnavailable, "0000-12-29T23:59:59.500Z"},
    {64092211200, "4001-01-01 00:00:00 +0000", "4001-01-01T00:00:00.000Z"},
    {64092211200.5, kUnavailable, "4001-01-01T00:00:00.500Z"},
    {253402300799.9, kUnavailable, "9999-12-31T23:59:59.900Z"},
    {253402300799.9999, kUnavailable, kUnavailable},
    {-62167219200, kUnavailable, "0000-01-01T00:00:00.000Z"},
    {-62167219201, kUnavailable, kUnavailable},
    {1e300, kUnavailable, kUnavailable},
    {-std::numeric_limits<double>::infinity(), kUnavailable, kUnavailable},
};

TEST(DatePrinting, CutsDescriptionsAndRoundsISO8601) {
  for (const auto& row : kPrinted) {
    SCOPED_TRACE(row.seconds);
    EXPECT_EQ(Date::since1970(row.seconds).description(), row.description);
    EXPECT_EQ(Date::since1970(row.seconds).iso8601(), row.iso8601);
  }
}

struct ReadCase {
  std::string_view text;
  double seconds;
};

const ReadCase kGood[] = {
    {"2023-11-14T22:13:20Z", 1700000000},
    {"2023-11-14T22:13Z", 1699999980},
    {"2023-11-14T22:13:20.25Z", 1700000000.25},
    {"2023-11-14T22:13:20.2500000000000000000000000Z", 1700000000.25},
    {"2023-11-14T23:13:20.25+01:00", 1700000000.25},
    {"2023-11-14T18:43:20-03:30", 1700000000},
    {"2023-11-15T12:13+14:00", 1699999980},
    {"2023-11-14T22:13:20-00:00", 1700000000},
    {"1969-12-31T23:59:59.5Z", -0.5},
    {"2024-02-29T00:00:00Z", 1709164800},
    {"0000-12-30T00:00:00Z", -62135769600},
    {"9999-12-31T23:59:59Z", 253402300799},
};

TEST(DateReading, TakesISO8601WithAZone) {
  for (const auto& row : kGood) {
    const auto date = Date::fromISO8601(row.text);
    ASSERT_TRUE(date) << row.text;
    EXPECT_EQ(date->timeIntervalSince1970(), row.seconds) << row.text;
  }
}

TEST(DateReading, RefusesOtherForms) {
  for (const std::string_view text :
       {"",                             //
        "2023-11-14T22:13:20",          // no zone
        "2023-11-14",                   //
        "2023-11-14 22:13:20Z",         //
        "2023-11-14t22:13:20z",         //
        "20231114T221320Z",             //
        "2023-11-14T22:13:20ZZ",        //
        "2023-11-14T22:13:20 Z",        //
        " 2023-11-14T22:13:20Z",        //
        "2023-11-14T22:13:20.Z",        //
        "2023-11-14T22:13:20,5Z",       //
        "2023-11-14T22:13.5Z",          // half a minute
        "2023-11-14T22:13:20+0100",     //
        "2023-11-14T22:13:20+01",       //
        "2023-11-14T22:13:20+24:00",    //
        "2023-11-14T22:13:20+01:60",    //
        "2023-11-14T22Z",               //
        "2023-1-14T22:13:20Z",          //
        "2023-11-14T2:13:20Z",          //
        "+2023-11-14T22:13:20Z",        //
        "-2023-11-14T22:13:20Z",        //
        "12023-11-14T22:13:20Z",        //
        "2023-W46-2T22:13:20Z",         //
        "2023-00-14T22:13:20Z",         //
        "2023-13-14T22:13:20Z",         //
        "2023-11-00T22:13:20Z",         //
        "2023-11-31T22:13:20Z",         //
        "2023-02-29T22:13:20Z",         // no leap year
        "1900-02-29T22:13:20Z",         //
        "2023-11-14T24:00:00Z",         //
        "2023-11-14T22:60:20Z",         //
        "2023-11-14T22:13:60Z",         // a leap second, which no instant here has
        "2023-11-14T22:13:2\xD9\xA0Z",  // a digit outside ASCII
        "<description unavailable>"}) {
    EXPECT_FALSE(Date::fromISO8601(text)) << text;
  }
  const std::string whole = "2023-11-14T22:13:20.250+01:00";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_FALSE(Date::fromISO8601(whole.substr(0, length))) << whole.substr(0, length);
  }
}

TEST(DateReading, ReadsBackWhatIsWritten) {
  // Some 600 instants from 0000-12-30 to 4001, and the same a few milliseconds off whole seconds.
  constexpr double step = 210'000'007;
  for (double seconds = -62135769600; seconds < 64092211200; seconds += step) {
    for (const double fraction : {0.0, 0.001, 0.999}) {
      const Date date = Date::since1970(seconds + fraction);
      const auto read = Date::fromISO8601(date.iso8601());
      ASSERT_TRUE(read) << date.iso8601();
      EXPECT_NEAR(read->timeIntervalSince1970(), date.timeIntervalSince1970(), 1e-5);
      EXPECT_EQ(read->iso8601(), date.iso8601());
    }
  }
}

}  // namespace
}  // namespace platform
