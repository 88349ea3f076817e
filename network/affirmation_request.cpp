#include "network/affirmation_request.h"

#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/locale/locale.h"
#include "platform/foundation/time/date.h"
#include "platform/foundation/time/time_zone.h"

namespace glancery {

using namespace platform;

namespace {

constexpr double kTimeout = 60;
constexpr int kSecondsPerHour = 3600;

// The division drops the minutes, toward zero.
std::string timezoneNow() {
  const int hours = TimeZone::current().secondsFromGMT(Date::now()) / kSecondsPerHour;
  return "UTC" + std::string(hours < 0 ? "" : "+") + std::to_string(hours);
}

}  // namespace

AffirmationRequestFields affirmationRequestFields(const std::string& uid) {
  return {.locale = Locale::current().languageCode().value_or("es"),
          .timezone = timezoneNow(),
          .uid = uid};
}

NSURLRequest affirmationRequest(const URL& url, const std::string& apiKey) {
  NSURLRequest request(url, NSURLRequestCachePolicy::useProtocolCachePolicy, kTimeout);
  request.setHTTPMethod("POST");
  request.setValueForHTTPHeaderField("application/json", "Content-Type");
  request.setValueForHTTPHeaderField(apiKey, "X-API-KEY");
  return request;
}

std::expected<Data, NSError> affirmationRequestBody(const AffirmationRequestFields& fields) {
  return NSJSONSerialization::dataWithJSONObject(
      Dictionary{{"locale", fields.locale},
                 {"timezone", fields.timezone},
                 {"appVersion", kAppVersion},
                 {"uid", fields.uid},
                 // The server expects the system under both names.
                 {"user_os", "ios"},
                 {"os", "ios"},
                 {"internal", Dictionary{{"events", Array()}}}});
}

}  // namespace glancery
