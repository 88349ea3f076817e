#include "platform/foundation/time/time_zone.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <string_view>

#include "tests/on_device.h"
#include "tests/vectors.h"

namespace platform {
namespace {

TimeZone zoneNamed(std::string_view identifier) {
  return require(TimeZone::withIdentifier(identifier));
}

TEST(TimeZone, AgreesWithThePlatform) {
  for (const auto& row : vectorRows("zone.json")) {
    // In "UTC%+d" the hours are cut toward zero.
    const int seconds = row.contains("zone")
                            ? zoneNamed(row["zone"].get<std::string>())
                                  .secondsFromGMT(instant(row["at"].get<std::string>()))
                            : row["seconds"].get<int>();
    const int hours = seconds / 3600;
    EXPECT_EQ(seconds, row["seconds"]) << row;
    EXPECT_EQ((hours < 0 ? "UTC" : "UTC+") + std::to_string(hours), row["text"]) << row;
  }
}

struct OffsetCase {
  std::string_view zone;
  std::string_view at;
  int seconds;
};

const OffsetCase kOffsets[] = {
    {"America/Mexico_City", "2022-07-15T12:00:00Z", -18000},  // the last summer with summer time
    {"America/Mexico_City", "2023-07-15T12:00:00Z", -21600},
    {"Africa/Cairo", "2022-07-15T12:00:00Z", 7200},
    {"Africa/Cairo", "2023-07-15T12:00:00Z", 10800},  // summer time is back
    {"Europe/Madrid", "2025-03-30T00:59:59.999Z", 3600},
    {"Europe/Madrid", "2025-03-30T01:00:00Z", 7200},
    {"Europe/Madrid", "2100-07-15T12:00:00Z", 7200},  // beyond the last change that is listed
    {"Europe/Madrid", "1900-01-01T00:00:00Z", -884},
    {"Africa/Monrovia", "1969-12-31T23:59:59.5Z", -2670},
    {"Etc/GMT+5", "2025-01-01T00:00:00Z", -18000},
};

TEST(TimeZone, KnowsRecentAndOldOffsets) {
  for (const auto& row : kOffsets) {
    EXPECT_EQ(zoneNamed(row.zone).secondsFromGMT(instant(row.at)), row.seconds)
        << row.zone << ' ' << row.at;
  }
  for (const double seconds : {std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               1e300,
                               1.7e12}) {
    const int offset = zoneNamed("Asia/Tokyo").secondsFromGMT(Date::since1970(seconds));
    EXPECT_TRUE(offset == 32400 || (seconds < 0 && offset == 33539)) << seconds << ' ' << offset;
  }
}

TEST(TimeZone, RefusesWhatTheDatabaseDoesNotName) {
  // clang-format off
  for (const std::string_view identifier : {
        "", "Europe", "Europe/", "/Europe/Madrid", "Europe//Madrid", "Europe/Atlantis",
        "europe/madrid", " Europe/Madrid", "Europe/Madrid ", "Europe/../Europe/Madrid",
        "./Europe/Madrid", "../zoneinfo/Europe/Madrid", "/usr/share/zoneinfo/Europe/Madrid",
        "/etc/localtime", "localtime", "libc:localtime", "file:Europe/Madrid", ":Europe/Madrid",
        "posix/Europe/Madrid", "right/Europe/Madrid", "posixrules", "zone.tab", "tzdata.zi",
        "leapseconds", "Fixed/UTC+05:00:00", "UTC0", "UTC+5", "<+05>-5", "CET-1CEST"}) {
    // clang-format on
    EXPECT_FALSE(TimeZone::withIdentifier(identifier)) << identifier;
  }
  using namespace std::string_view_literals;
  EXPECT_FALSE(TimeZone::withIdentifier("UTC\0"sv));
  EXPECT_FALSE(TimeZone::withIdentifier("Europe/Madrid\0x"sv));
  // Abseil must not return a failed name as UTC the second time.
  EXPECT_FALSE(TimeZone::withIdentifier("Europe/Atlantis"));
}

TEST(TimeZone, CurrentFollowsTheDevice) {
  const OnDevice madrid({.timeZone = "Europe/Madrid"});
  EXPECT_EQ(TimeZone::current().identifier(), "Europe/Madrid");
  const OnDevice chatham({.timeZone = "Pacific/Chatham"});
  EXPECT_EQ(TimeZone::current().secondsFromGMT(instant("2025-07-01T00:00:00Z")), 45900);
}

TEST(TimeZoneDeathTest, CurrentStopsForADeviceInNoZone) {
  const OnDevice device({.timeZone = "Europe/Atlantis"});
  EXPECT_DEATH(TimeZone::current(), "Europe/Atlantis");
}

}  // namespace
}  // namespace platform
