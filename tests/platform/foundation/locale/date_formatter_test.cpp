#include "platform/foundation/locale/date_formatter.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/instant.h"
#include "tests/on_device.h"

namespace platform {
namespace {

std::string formatted(std::string_view pattern, Date date) {
  NSDateFormatter formatter;
  formatter.setDateFormat(std::string(pattern));
  return formatter.stringFromDate(date);
}

struct Case {
  std::string_view name;
  std::string_view locale;
  std::string_view zone;
  std::string_view pattern;
  std::string_view date;
  std::string_view expected;
};

// clang-format off
const Case kCases[] = {
    {"newer rules than ICU's",   "es_MX",                                 "America/Mexico_City", "yyyy-MM-dd HH:mm",  "2025-07-15T05:30:00Z",     "2025-07-14 23:30"},
    {"newer rules again",        "es_PY",                                 "America/Asuncion",    "yyyy-MM-dd HH:mm",  "2025-07-15T03:30:00Z",     "2025-07-15 00:30"},
    {"half-hour zone",           "en_IN",                                 "Asia/Kolkata",        "HH:mm",             "2025-03-05T18:31:00Z",     "00:01"},
    {"hyphen",                   "es-MX",                                 "UTC",                 "EEEE d MMMM",       "2025-03-05T00:00:00Z",     "miércoles 5 marzo"},
    {"Thai years",               "th_TH",                                 "UTC",                 "yyyy-MM-dd",        "2025-03-05T00:00:00Z",     "2568-03-05"},
    {"Persian calendar, digits", "fa_IR",                                 "UTC",                 "yyyy-MM-dd",        "2025-03-21T00:00:00Z",     "۱۴۰۴-۰۱-۰۱"},
    {"Egyptian digits",          "ar_EG",                                 "UTC",                 "yyyy-MM-dd",        "2025-03-05T00:00:00Z",     "٢٠٢٥-٠٣-٠٥"},
    {"digits by keyword",        "ar_EG@numbers=latn",                    "UTC",                 "yyyy-MM-dd",        "2025-03-05T00:00:00Z",     "2025-03-05"},
    {"calendar by keyword",      "es_MX@calendar=buddhist",               "UTC",                 "yyyy",              "2025-03-05T00:00:00Z",     "2568"},
    {"both by keyword",          "th_TH@calendar=gregorian;numbers=thai", "UTC",                 "yyyy",              "2025-03-05T00:00:00Z",     "๒๐๒๕"},
    {"zone keyword has no say",  "es_MX@timezone=Asia/Tokyo",             "UTC",                 "HH",                "2025-03-05T18:00:00Z",     "18"},
    {"quoted zone letters",      "es_MX",                                 "UTC",                 "dd 'z ''Z'' x' MM", "2025-03-05T18:00:00Z",     "05 z 'Z' x 03"},
    {"day's last millisecond",   "en_US",                                 "Europe/Madrid",       "d HH:mm:ss.SSS",    "2025-03-05T22:59:59.999Z", "5 23:59:59.999"},
    {"before 1970",              "en_US",                                 "UTC",                 "d HH:mm:ss",        "1969-12-31T23:59:59.5Z",   "31 23:59:59"},
    {"ten days were left out",   "es_ES",                                 "UTC",                 "d MMMM yyyy",       "1582-10-14T12:00:00Z",     "4 octubre 1582"},
    {"no pattern",               "en_US",                                 "UTC",                 "",                  "2025-03-05T18:31:00Z",     ""},
};
// clang-format on

TEST(DateFormatter, FollowsLocaleAndZone) {
  for (const auto& row : kCases) {
    const OnDevice device({.timeZone = std::string(row.zone), .locale = std::string(row.locale)});
    EXPECT_EQ(formatted(row.pattern, instant(row.date)), row.expected) << row.name;
  }
}

TEST(DateFormatter, NoticesWhatChangesBetweenTexts) {
  const Date date = instant("2025-03-05T23:30:00Z");
  const OnDevice mexico({.timeZone = "America/Mexico_City", .locale = "es_MX"});
  NSDateFormatter formatter;
  formatter.setDateFormat("EEEE d");
  EXPECT_EQ(formatter.stringFromDate(date), "miércoles 5");
  {
    const OnDevice madrid({.timeZone = "Europe/Madrid", .locale = "fr_FR"});
    EXPECT_EQ(formatter.stringFromDate(date), "jeudi 6");
    formatter.setLocale(*Locale::withIdentifier("en_US"));
    EXPECT_EQ(formatter.stringFromDate(date), "Thursday 6");
  }
  EXPECT_EQ(formatter.stringFromDate(date), "Wednesday 5");
  formatter.setDateFormat("MMM");
  EXPECT_EQ(formatter.stringFromDate(date), "Mar");
  NSDateFormatter moved = std::move(formatter);
  EXPECT_EQ(moved.stringFromDate(date), "Mar");
}

TEST(DateFormatterDeathTest, StopsForPatternsItCannotWrite) {
  for (const std::string_view letter : {"z", "Z", "O", "v", "V", "X", "x"}) {
    EXPECT_DEATH(formatted("HH 'z' " + std::string(letter), Date::since1970(0)),
                 "letter '" + std::string(letter) + "'");
  }
  EXPECT_DEATH(formatted("yyyy jj", Date::since1970(0)), "yyyy jj");
}

}  // namespace
}  // namespace platform
