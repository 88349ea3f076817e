#include "platform/foundation/time/date.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <utility>

namespace platform {

namespace {

constexpr std::string_view kUnavailable = "<description unavailable>";
constexpr std::int64_t kMillisecondsPerSecond = 1000;

void appendPadded(std::string& text, std::int64_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  text.append(width - std::min(width, digits.size()), '0').append(digits);
}

/// "2023-11-14 22:13:20" in UTC, with the given sign between day and time; years 0 to 9999.
std::string civilText(std::chrono::sys_seconds instant, char separator) {
  const auto day = std::chrono::floor<std::chrono::days>(instant);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(instant - day);
  std::string text;
  appendPadded(text, static_cast<int>(date.year()), 4);
  text += '-';
  appendPadded(text, static_cast<unsigned>(date.month()), 2);
  text += '-';
  appendPadded(text, static_cast<unsigned>(date.day()), 2);
  text += separator;
  appendPadded(text, time.hours().count(), 2);
  text += ':';
  appendPadded(text, time.minutes().count(), 2);
  text += ':';
  appendPadded(text, time.seconds().count(), 2);
  return text;
}

/// Takes a text apart from the front; the first part that does not fit spoils all that follow.
class Reader {
 public:
  explicit Reader(std::string_view text) : rest_(text) {}

  bool accept(char expected) {
    if (!rest_.starts_with(expected)) {
      return false;
    }
    rest_.remove_prefix(1);
    return true;
  }
  void expect(char expected) { good_ = accept(expected) && good_; }

  /// A number of exactly that many digits.
  int number(std::size_t width) {
    const std::string_view digits = leadingDigits();
    if (digits.size() < width) {
      good_ = false;
      return 0;
    }
    int value = 0;
    std::from_chars(digits.data(), digits.data() + width, value);
    rest_.remove_prefix(width);
    return value;
  }

  /// The digits after a decimal point, however many there are.
  double fraction() {
    const std::string_view digits = leadingDigits();
    good_ = !digits.empty() && good_;
    rest_.remove_prefix(digits.size());
    const std::string text = "0." + std::string(digits);
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
  }

  bool atEnd() const { return good_ && rest_.empty(); }

 private:
  std::string_view leadingDigits() const {
    return rest_.substr(0, std::min(rest_.find_first_not_of("0123456789"), rest_.size()));
  }

  std::string_view rest_;
  bool good_ = true;
};

}  // namespace

std::int64_t Date::wholeSecondsSince1970() const {
  return static_cast<std::int64_t>(std::floor(std::clamp(seconds_, -0x1p53, 0x1p53)));
}

std::string Date::description() const {
  if (*this < distantPast() || *this > distantFuture()) {
    return std::string(kUnavailable);
  }
  const std::chrono::sys_seconds instant{std::chrono::seconds(wholeSecondsSince1970())};
  return civilText(instant, ' ') + " +0000";
}

std::string Date::iso8601() const {
  using std::chrono::sys_days;
  constexpr std::chrono::sys_seconds firstYear = sys_days(std::chrono::year(0) / 1 / 1);
  constexpr std::chrono::sys_seconds endOfYears = sys_days(std::chrono::year(10000) / 1 / 1);

  // The fraction alone is rounded: as a double it is exact, the sum of milliseconds is not.
  const std::int64_t whole = wholeSecondsSince1970();
  const auto rounded = std::llround((seconds_ - static_cast<double>(whole)) * 1000);
  const std::chrono::sys_seconds instant(
      std::chrono::seconds(whole + (rounded == kMillisecondsPerSecond ? 1 : 0)));
  if (instant < firstYear || instant >= endOfYears) {
    return std::string(kUnavailable);
  }
  std::string text = civilText(instant, 'T') + '.';
  appendPadded(text, rounded % kMillisecondsPerSecond, 3);
  return text + 'Z';
}

std::optional<Date> Date::fromISO8601(std::string_view text) {
  Reader in(text);
  const int year = in.number(4);
  in.expect('-');
  const int month = in.number(2);
  in.expect('-');
  const int day = in.number(2);
  in.expect('T');
  const int hour = in.number(2);
  in.expect(':');
  const int minute = in.number(2);
  int second = 0;
  double fraction = 0;
  if (in.accept(':')) {
    second = in.number(2);
    fraction = in.accept('.') ? in.fraction() : 0;
  }

  int offsetMinutes = 0;
  if (!in.accept('Z')) {
    const int sign = in.accept('-') ? -1 : 1;
    if (sign > 0) {
      in.expect('+');
    }
    const int offsetHour = in.number(2);
    in.expect(':');
    const int offsetMinute = in.number(2);
    if (offsetHour > 23 || offsetMinute > 59) {
      return std::nullopt;
    }
    offsetMinutes = sign * (offsetHour * 60 + offsetMinute);
  }

  const std::chrono::year_month_day date(std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day)));
  if (!in.atEnd() || !date.ok() || hour > 23 || minute > 59 || second > 59) {
    return std::nullopt;
  }
  const std::chrono::sys_seconds instant = std::chrono::sys_days(date) + std::chrono::hours(hour) +
                                           std::chrono::minutes(minute - offsetMinutes) +
                                           std::chrono::seconds(second);
  return since1970(static_cast<double>(instant.time_since_epoch().count()) + fraction);
}

}  // namespace platform
