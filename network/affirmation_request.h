#pragma once

#include <expected>
#include <string>

#include "platform/foundation/data/error.h"
#include "platform/foundation/data/value.h"
#include "platform/foundation/network/url.h"
#include "platform/foundation/network/url_request.h"

namespace glancery {

/// The app version that is sent to the server. Fixed: it does not follow the bundle's version.
inline constexpr const char* kAppVersion = "4.47.3";

/// The parts of the request's body that depend on device and user.
struct AffirmationRequestFields {
  /// The language code without region, "es".
  std::string locale;
  /// "UTC" and the offset in whole hours with its sign: "UTC-5".
  std::string timezone;
  std::string uid;
};

/// Reads the device's current settings.
AffirmationRequestFields affirmationRequestFields(const std::string& uid);

/// The request without its body.
platform::NSURLRequest affirmationRequest(const platform::URL& url, const std::string& apiKey);

/// The body, a JSON object. Fails on a user identifier that is not UTF-8.
std::expected<platform::Data, platform::NSError> affirmationRequestBody(
    const AffirmationRequestFields& fields);

}  // namespace glancery
