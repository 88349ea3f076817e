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

constexpr std::string_view kTimeZoneLetters = "zZOvVXx";

/// The first letter of a time zone in a date pattern; quoted text is no pattern.
std::optional<char> timeZoneLetter(std::string_view pattern) {
  bool quoted = false;
  for (const char c : pattern) {
    if (c == '\'') {
      quoted = !quoted;
    } else if (!quoted && kTimeZoneLetters.find(c) != std::string_view::npos) {
      return c;
    }
  }
  return std::nullopt;
}

/// ICU writes one pattern in one locale, always in Greenwich: it is handed the time on the wall as
/// if it were Greenwich's, so that its own, older tz data has no say.
class PatternWriter {
 public:
  PatternWriter(const std::string& localeIdentifier, const std::string& pattern)
      : localeIdentifier_(localeIdentifier), pattern_(pattern) {
    // Otherwise ICU looks for the machine's zone, which may lead it through the whole tz database.
    static std::once_flag once;
    std::call_once(once, [] { icu::TimeZone::adoptDefault(icu::TimeZone::getGMT()->clone()); });

    UErrorCode status = U_ZERO_ERROR;
    format_.emplace(
        icu::UnicodeString::fromUTF8(pattern_), icu::Locale(localeIdentifier.c_str()), status);
    stopOnFailure(status);
    calendar_.reset(format_->getCalendar()->clone());
    calendar_->setTimeZone(*icu::TimeZone::getGMT());
  }

  const std::string& localeIdentifier() const { return localeIdentifier_; }

  std::string write(double wallSeconds) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text;
    calendar_->setTime(wallSeconds * U_MILLIS_PER_SECOND, status);
    format_->format(*calendar_, text, nullptr, status);
    stopOnFailure(status);
    std::string result;
    text.toUTF8String(result);
    return result;
  }

 private:
  void stopOnFailure(UErrorCode status) const {
    if (U_FAILURE(status)) {
      fatalError("the date pattern \"" + pattern_ + "\" can't be written in the locale \"" +
                 localeIdentifier_ + "\": " + u_errorName(status));
    }
  }

  std::string localeIdentifier_;
  std::string pattern_;
  std::optional<icu::SimpleDateFormat> format_;
  std::unique_ptr<icu::Calendar> calendar_;
};

}  // namespace

struct NSDateFormatter::Impl {
  std::optional<Locale> locale;
  std::string pattern;
  /// Made for the first text, and again when pattern or locale have changed.
  std::optional<PatternWriter> writer;
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
  impl_->writer.reset();
}

std::string NSDateFormatter::stringFromDate(Date date) const {
  if (impl_->pattern.empty()) {
    return {};
  }
  const Locale locale = impl_->locale ? *impl_->locale : Locale::current();
  auto& writer = impl_->writer;
  if (!writer || writer->localeIdentifier() != locale.identifier()) {
    writer.emplace(locale.identifier(), impl_->pattern);
  }
  return writer->write(date.timeIntervalSince1970() + TimeZone::current().secondsFromGMT(date));
}

}  // namespace platform
