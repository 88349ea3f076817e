#include "widgets/checkin/checkin_date.h"

#include "platform/foundation/locale/date_formatter.h"
#include "platform/foundation/locale/locale.h"

namespace glancery {

using namespace platform;

namespace {

std::string dateFormat(const std::optional<std::string>& languageCode) {
  if (languageCode == "es") {
    return "dd 'de' MMMM, yyyy";
  }
  return languageCode == "pt" || languageCode == "fr" ? "dd MMMM yyyy" : "MMMM d, yyyy";
}

}  // namespace

std::string formattedCheckinDate(Date date) {
  const Locale locale = Locale::current();
  NSDateFormatter formatter;
  formatter.setLocale(locale);
  formatter.setDateFormat(dateFormat(locale.languageCode()));
  return formatter.stringFromDate(date);
}

}  // namespace glancery
