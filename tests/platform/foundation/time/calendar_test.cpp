#include "platform/foundation/time/calendar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "tests/on_device.h"
#include "tests/vectors.h"

namespace platform {
namespace {

Calendar calendarOf(std::string_view zone) {
  return Calendar(require(TimeZone::withIdentifier(zone)));
}

TEST(Calendar, AgreesWithThePlatformAroundClockChanges) {
  for (const auto& row : vectorRows("refresh.json")) {
    const Calendar calendar = calendarOf(row["zone"].get<std::string>());
    const Date now = instant(row["now"].get<std::string>());
    const Date start = calendar.startOfDay(now);
    SCOPED_TRACE(row.dump());
    EXPECT_EQ(calendar.hour(now), row["hour"]);
    EXPECT_EQ(start.iso8601(), row["startOfDay"]);
    EXPECT_EQ(require(calendar.dateByAddingDays(1, start)).iso8601(), row["dayAfterStart"]);
    EXPECT_EQ(calendar.startOfDay(require(calendar.dateByAddingDays(1, now))).iso8601(),
              row["tomorrow"]);
  }
}

using Step = std::function<std::optional<Date>(const Calendar&, Date)>;

const Step startOfDay = [](const Calendar& calendar, Date date) {
  return calendar.startOfDay(date);
};

Step plusDays(int days) {
  return [=](const auto& calendar, Date date) { return calendar.dateByAddingDays(days, date); };
}

Step atHour(int hour) {
  return [=](const auto& calendar, Date date) { return calendar.dateBySettingHour(hour, date); };
}

struct Case {
  std::string_view name;
  std::string_view zone;
  Step step;
  std::string_view date;
  std::string_view expected;
};

// clang-format off
const Case kCases[] = {
    {"midnight itself",               "Europe/Madrid",       startOfDay,    "2025-03-04T23:00:00Z",     "2025-03-04T23:00:00.000Z"},
    {"just before midnight",          "Europe/Madrid",       startOfDay,    "2025-03-04T22:59:59.999Z", "2025-03-03T23:00:00.000Z"},
    {"half a second before 1970",     "UTC",                 startOfDay,    "1969-12-31T23:59:59.5Z",   "1969-12-31T00:00:00.000Z"},
    {"skipped midnight",              "America/Santiago",    startOfDay,    "2025-09-07T15:00:00Z",     "2025-09-07T04:00:00.000Z"},
    {"skipped midnight by new rules", "Africa/Cairo",        startOfDay,    "2026-04-24T10:00:00Z",     "2026-04-23T22:00:00.000Z"},
    {"repeated midnight",             "America/Havana",      startOfDay,    "2025-11-02T20:00:00Z",     "2025-11-02T04:00:00.000Z"},
    {"between both midnights",        "America/Havana",      startOfDay,    "2025-11-02T04:30:00Z",     "2025-11-02T04:00:00.000Z"},
    {"after the second midnight",     "America/Havana",      startOfDay,    "2025-11-02T05:30:00Z",     "2025-11-02T04:00:00.000Z"},
    {"hour before midnight repeated", "America/Santiago",    startOfDay,    "2025-04-06T03:30:00Z",     "2025-04-05T03:00:00.000Z"},
    {"day left and entered again",    "America/St_Johns",    startOfDay,    "2010-11-07T12:00:00Z",     "2010-11-07T02:30:00.000Z"},
    {"day after a skipped day",       "Pacific/Apia",        startOfDay,    "2011-12-30T12:00:00Z",     "2011-12-30T10:00:00.000Z"},
    {"day before a skipped day",      "Pacific/Apia",        startOfDay,    "2011-12-30T09:59:59Z",     "2011-12-29T10:00:00.000Z"},
    {"offset of seconds",             "Africa/Monrovia",     startOfDay,    "1970-01-01T00:44:29Z",     "1969-12-31T00:44:30.000Z"},
    {"a day of 23 hours",             "Europe/Madrid",       plusDays(1),   "2025-03-29T11:00:00.25Z",  "2025-03-30T10:00:00.250Z"},
    {"back over it",                  "Europe/Madrid",       plusDays(-1),  "2025-03-30T10:00:00.25Z",  "2025-03-29T11:00:00.250Z"},
    {"into a skipped time",           "Europe/Madrid",       plusDays(1),   "2025-03-29T01:30:00.25Z",  "2025-03-30T01:00:00.000Z"},
    {"into a repeated time",          "Europe/Madrid",       plusDays(1),   "2025-10-25T00:30:00Z",     "2025-10-26T00:30:00.000Z"},
    {"into it from behind",           "Europe/Madrid",       plusDays(-1),  "2025-10-27T01:30:00Z",     "2025-10-26T00:30:00.000Z"},
    {"no days keep the second one",   "Europe/Madrid",       plusDays(0),   "2025-10-26T01:30:00Z",     "2025-10-26T01:30:00.000Z"},
    {"into a skipped day",            "Pacific/Apia",        plusDays(1),   "2011-12-30T05:00:00Z",     "2011-12-30T10:00:00.000Z"},
    {"over a skipped day",            "Pacific/Apia",        plusDays(2),   "2011-12-30T05:00:00Z",     "2011-12-31T05:00:00.000Z"},
    {"onto a leap day",               "UTC",                 plusDays(365), "2023-03-01T06:00:00Z",     "2024-02-29T06:00:00.000Z"},
    {"back over 1970",                "UTC",                 plusDays(-1),  "1970-01-01T00:00:00.5Z",   "1969-12-31T00:00:00.500Z"},
    {"hour earlier the same day",     "Europe/Madrid",       atHour(8),     "2025-07-01T20:15:30.5Z",   "2025-07-01T06:00:00.000Z"},
    {"skipped hour",                  "Europe/Madrid",       atHour(2),     "2025-03-30T12:00:00Z",     "2025-03-30T01:00:00.000Z"},
    {"skipped first hour",            "Africa/Cairo",        atHour(0),     "2026-04-24T10:00:00Z",     "2026-04-23T22:00:00.000Z"},
    {"repeated hour",                 "Europe/Madrid",       atHour(2),     "2025-10-26T12:00:00Z",     "2025-10-26T00:00:00.000Z"},
    {"half of the hour skipped",      "Australia/Lord_Howe", atHour(2),     "2025-10-05T03:00:00Z",     "2025-10-04T15:30:00.000Z"},
};
// clang-format on

TEST(Calendar, PicksTheFirstInstantWhereClocksChange) {
  for (const auto& row : kCases) {
    const auto date = row.step(calendarOf(row.zone), instant(row.date));
    ASSERT_TRUE(date) << row.name;
    EXPECT_EQ(date->iso8601(), row.expected) << row.name;
  }
}

TEST(Calendar, AddsNoDaysBeyondTheEndsOfTime) {
  const Calendar calendar = calendarOf("America/Havana");
  constexpr int most = std::numeric_limits<int>::max();
  EXPECT_FALSE(calendar.dateByAddingDays(most, instant("2025-01-01T00:00:00Z")));
  EXPECT_FALSE(calendar.dateByAddingDays(-most, instant("2025-01-01T00:00:00Z")));
  EXPECT_FALSE(calendar.dateByAddingDays(1, Date::distantFuture()));
  EXPECT_TRUE(calendar.dateByAddingDays(-1, Date::distantFuture()));
  EXPECT_FALSE(calendar.dateByAddingDays(-1, Date::distantPast()));
  EXPECT_FALSE(calendar.dateByAddingDays(0, Date::since1970(1e300)));
  EXPECT_FALSE(calendar.dateByAddingDays(-1, Date::since1970(1e300)));
}

TEST(Calendar, SetsNoHourThatNoDayHas) {
  EXPECT_FALSE(calendarOf("UTC").dateBySettingHour(24, instant("2025-01-01T00:00:00Z")));
  EXPECT_FALSE(calendarOf("UTC").dateBySettingHour(-1, instant("2025-01-01T00:00:00Z")));
}

struct NearDayCase {
  std::string_view name;
  std::string_view zone;
  std::string_view now;
  std::string_view date;
  bool today;
  bool yesterday;
};

// clang-format off
const NearDayCase kNearDays[] = {
    {"this instant",              "Europe/Madrid",    "2025-03-05T12:00:00Z", "2025-03-05T12:00:00Z",   true,  false},
    {"later today",               "Europe/Madrid",    "2025-03-05T12:00:00Z", "2025-03-05T22:59:59Z",   true,  false},
    {"tomorrow",                  "Europe/Madrid",    "2025-03-05T12:00:00Z", "2025-03-05T23:00:00Z",   false, false},
    {"end of yesterday",          "Europe/Madrid",    "2025-03-05T12:00:00Z", "2025-03-04T22:59:59.9Z", false, true},
    {"start of yesterday",        "Europe/Madrid",    "2025-03-05T12:00:00Z", "2025-03-03T23:00:00Z",   false, true},
    {"two days ago",              "Europe/Madrid",    "2025-03-05T12:00:00Z", "2025-03-03T22:59:59Z",   false, false},
    {"before a skipped midnight", "America/Santiago", "2025-09-07T04:00:00Z", "2025-09-07T03:59:59Z",   false, true},
    {"the first midnight",        "America/Havana",   "2025-11-02T05:10:00Z", "2025-11-02T04:10:00Z",   true,  false},
    {"before a skipped day",      "Pacific/Apia",     "2011-12-30T12:00:00Z", "2011-12-30T09:00:00Z",   false, true},
};
// clang-format on

TEST(Calendar, TellsTodayAndYesterday) {
  for (const auto& row : kNearDays) {
    const OnDevice device(
        {.clock = Clock::frozenAt(instant(row.now)), .timeZone = std::string(row.zone)});
    EXPECT_EQ(Calendar::current().isDateInToday(instant(row.date)), row.today) << row.name;
    EXPECT_EQ(Calendar::current().isDateInYesterday(instant(row.date)), row.yesterday) << row.name;
  }
}

TEST(Calendar, StaysCalmFarFromTheEndsOfTime) {
  for (const double seconds : {1.7e12, -1e15, 0x1p53, 1e300, -HUGE_VAL, HUGE_VAL}) {
    for (const std::string_view zone : {"UTC", "America/Santiago", "Pacific/Apia"}) {
      const Date date = Date::since1970(seconds);
      const int hour = calendarOf(zone).hour(date);
      EXPECT_TRUE(hour >= 0 && hour < 24) << seconds << ' ' << zone;
      EXPECT_TRUE(calendarOf(zone).isDateInSameDayAs(calendarOf(zone).startOfDay(date), date))
          << seconds << ' ' << zone;
    }
  }
}

struct Sweep {
  std::string_view zone;
  int firstYear;
  int endYear;
  /// Short enough to find every change of an offset in those years.
  int step;
};

const Sweep kSweeps[] = {
    {"Europe/Madrid", 2024, 2027, 1800},       {"America/Santiago", 2022, 2027, 1800},
    {"America/Havana", 2010, 2014, 1800},      {"America/Asuncion", 2023, 2026, 1800},
    {"America/Sao_Paulo", 2016, 2020, 1800},   {"America/Caracas", 2007, 2008, 1800},
    {"America/Nuuk", 2023, 2025, 1800},        {"America/St_Johns", 2010, 2011, 60},
    {"Atlantic/Azores", 2024, 2026, 1800},     {"Africa/Cairo", 2010, 2012, 1800},
    {"Africa/Cairo", 2023, 2027, 1800},        {"Africa/Casablanca", 2012, 2014, 1800},
    {"Africa/Monrovia", 1972, 1973, 30},       {"Asia/Amman", 2012, 2014, 1800},
    {"Asia/Beirut", 2022, 2026, 1800},         {"Asia/Gaza", 2011, 2013, 60},
    {"Asia/Pyongyang", 2015, 2016, 1800},      {"Asia/Tehran", 2020, 2023, 1800},
    {"Australia/Lord_Howe", 2024, 2027, 1800}, {"Pacific/Apia", 2010, 2013, 1800},
    {"Pacific/Chatham", 2024, 2026, 900},      {"Pacific/Kwajalein", 1993, 1994, 1800},
};

/// The civil days of the sweep by their numbers, with the first instant found in each.
std::map<std::int64_t, Date> firstInstants(const Sweep& sweep, const TimeZone& zone) {
  std::map<std::int64_t, Date> first;
  const Date end = instant(std::to_string(sweep.endYear) + "-01-03T00:00:00Z");
  for (Date date = instant(std::to_string(sweep.firstYear) + "-01-01T00:00:00Z"); date < end;
       date = date.addingTimeInterval(sweep.step)) {
    const double wall = date.timeIntervalSince1970() + zone.secondsFromGMT(date);
    first.try_emplace(static_cast<std::int64_t>(std::floor(wall / 86400)), date);
  }
  first.erase(first.begin());  // The sweep did not see this one begin.
  return first;
}

TEST(Calendar, EveryDayStartsAtItsFirstInstantAndLeadsToTheNext) {
  for (const auto& sweep : kSweeps) {
    const Calendar calendar = calendarOf(sweep.zone);
    const auto days = firstInstants(sweep, calendar.timeZone());
    ASSERT_GT(days.size(), 360u) << sweep.zone;
    for (auto day = days.begin(), next = std::next(day); next != days.end(); ++day, ++next) {
      SCOPED_TRACE(std::string(sweep.zone) + ", day from " + day->second.iso8601());
      const Date lastSeen = next->second.addingTimeInterval(-sweep.step);
      EXPECT_EQ(calendar.startOfDay(day->second), day->second);
      EXPECT_EQ(calendar.startOfDay(lastSeen), day->second);
      // If midnight was skipped, the day starts at one o'clock.
      const auto later = calendar.dateByAddingDays(1, day->second);
      ASSERT_TRUE(later);
      EXPECT_EQ(calendar.startOfDay(*later), next->second);
    }
  }
}

}  // namespace
}  // namespace platform
