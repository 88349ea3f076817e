#include "platform/foundation/locale/date_formatter.h"

#include <unicode/calendar.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <mutex>
#include <optional>

#include "platform/foundation/time/time_zone.h"
#include "platform/support/require.h"

namespace platform {

namespace {

/// The first time zone letter of a date pattern outside quotes.
std::optional<char> timeZoneLetter(std::string_view pattern) {
  bool quoted = false;
  for (const char c : pattern) {
    quoted = quoted != (c == '\'');
    if (!quoted && std::string_view("zZOvVXx").find(c) != std::string_view::npos) {
      return c;
    }
  }
  return std::nullopt;
}

}  // namespace

struct NSDateFormatter::Impl {
  std::optional<Locale> locale;
  std::string pattern;
  /// ICU's format of the pattern for the locale `formatLocale`, created when it is first needed.
  std::optional<icu::SimpleDateFormat> format;
  std::unique_ptr<icu::Calendar> calendar;
  std::string formatLocale;

  void createFormat(const std::string& identifier) {
    // Otherwise ICU determines the machine's zone, for which it may read the whole tz database.
    static std::once_flag once;
    std::call_once(once, [] { icu::TimeZone::adoptDefault(icu::TimeZone::getGMT()->clone()); });

    UErrorCode status = U_ZERO_ERROR;
    formatLocale = identifier;
    format.emplace(icu::UnicodeString::fromUTF8(pattern), icu::Locale(identifier.c_str()), status);
    stopOnFailure(status);
    calendar.reset(format->getCalendar()->clone());
    calendar->setTimeZone(*icu::TimeZone::getGMT());
  }

  /// ICU is given the civil time as if it were GMT, so that its own, older tz data is not used.
  std::string text(double civilSeconds) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text;
    calendar->setTime(civilSeconds * U_MILLIS_PER_SECOND, status);
    format->format(*calendar, text, nullptr, status);
    stopOnFailure(status);
    std::string result;
    return text.toUTF8String(result);
  }

  void stopOnFailure(UErrorCode status) const {
    if (U_FAILURE(status)) {
      fatalError("the date pattern \"" + pattern + "\" can't be formatted in the locale \"" +
                 formatLocale + "\": " + u_errorName(status));
    }
  }
};

NSDateFormatter::NSDateFormatter() : impl_(std::make_unique<Impl>()) {
}
NSDateFormatter::~NSDateFormatter() = default;
NSDateFormatter::NSDateFormatter(NSDateFormatter&&) noexcept = default;
NSDateFormatter& NSDateFormatter::operator=(NSDateFormatter&&) noexcept = default;

void NSDateFormatter::setLocale(Locale locale) {
  impl_->locale = std::move(locale);
}

void NSDateFormatter::setDateFormat(std::string pattern) {
  if (const auto letter = timeZoneLetter(pattern)) {
    fatalError(std::string("the time zone letter '") + *letter + "' of the date pattern \"" +
               pattern + "\" is not implemented");
  }
  impl_->pattern = std::move(pattern);
  impl_->format.reset();
}

std::string NSDateFormatter::stringFromDate(Date date) const {
  if (impl_->pattern.empty()) {
    return {};
  }
  const Locale locale = impl_->locale ? *impl_->locale : Locale::current();
  if (!impl_->format || impl_->formatLocale != locale.identifier()) {
    impl_->createFormat(locale.identifier());
  }
  return impl_->text(date.timeIntervalSince1970() + TimeZone::current().secondsFromGMT(date));
}

}  // namespace platform
