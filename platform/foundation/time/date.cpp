#include "platform/foundation/time/date.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

#include "platform/support/pattern.h"

namespace platform {

namespace {

using namespace std::chrono;

constexpr const char* kUnavailable = "<description unavailable>";

/// Prints year, month, day, hour, minute and second in UTC, and a last number for the format.
std::string printed(const char* format, sys_seconds instant, int last = 0) {
  const auto midnight = floor<days>(instant);
  const year_month_day day(midnight);
  const hh_mm_ss time(instant - midnight);
  std::array<char, 64> text;
  const int length = std::snprintf(text.data(),
                                   text.size(),
                                   format,
                                   int(day.year()),
                                   unsigned(day.month()),
                                   unsigned(day.day()),
                                   int(time.hours().count()),
                                   int(time.minutes().count()),
                                   int(time.seconds().count()),
                                   last);
  return {text.data(), static_cast<std::size_t>(length)};
}

template <class Number>
Number leading(std::string_view text) {
  Number number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

std::int64_t Date::wholeSecondsSince1970() const {
  return static_cast<std::int64_t>(std::floor(std::clamp(seconds_, -0x1p53, 0x1p53)));
}

std::string Date::description() const {
  return *this < distantPast() || *this > distantFuture()
             ? kUnavailable
             : printed("%04d-%02u-%02u %02d:%02d:%02d +0000",
                       sys_seconds(seconds(wholeSecondsSince1970())));
}

std::string Date::iso8601() const {
  // The fraction alone is rounded: as a double it is exact, the sum of milliseconds is not.
  const sys_seconds whole{seconds(wholeSecondsSince1970())};
  const auto rounded = std::llround((seconds_ - double(whole.time_since_epoch().count())) * 1000);
  const sys_seconds instant = whole + seconds(rounded == 1000 ? 1 : 0);
  return instant < sys_days(year(0) / 1 / 1) || instant >= sys_days(year(10000) / 1 / 1)
             ? kUnavailable
             : printed("%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", instant, int(rounded % 1000));
}

std::optional<Date> Date::fromISO8601(std::string_view text) {
  static const Pattern form(
      "[0-9]{4}-[0-9]{2}-[0-9]{2}T([01][0-9]|2[0-3]):[0-5][0-9](:[0-5][0-9](\\.[0-9]+)?)?"
      "(Z|[+-]([01][0-9]|2[0-3]):[0-5][0-9])");
  if (!form.matches(text)) {
    return std::nullopt;
  }
  const auto number = [&](std::size_t at, std::size_t width = 2) {
    return leading<unsigned>(text.substr(at, width));
  };
  const year_month_day day(year(int(number(0, 4))), month(number(5)), std::chrono::day(number(8)));
  if (!day.ok()) {
    return std::nullopt;
  }
  auto minute = sys_days(day) + hours(number(11)) + minutes(number(14));
  if (!text.ends_with('Z')) {
    const std::size_t zone = text.size() - std::string_view("+00:00").size();
    const auto offset = hours(number(zone + 1)) + minutes(number(zone + 4));
    minute -= text[zone] == '-' ? -offset : offset;
  }
  const double second = text[16] == ':' ? leading<double>(text.substr(17)) : 0;
  return since1970(double(seconds(minute.time_since_epoch()).count()) + second);
}

}  // namespace platform
