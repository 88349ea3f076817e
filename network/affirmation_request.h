#pragma once

#include <expected>
#include <string>

#include "platform/foundation/data/error.h"
#include "platform/foundation/data/value.h"
#include "platform/foundation/network/url.h"
#include "platform/foundation/network/url_request.h"

namespace glancery {

/// What the server is told as the app's version, whatever the bundle's own is: it goes by the
/// version of the interface.
inline constexpr const char* kAppVersion = "4.47.3";

/// What the server learns of the device and its user.
struct AffirmationRequestFields {
  /// The language alone, "es".
  std::string locale;
  /// "UTC" and whole hours with their sign: "UTC-5".
  std::string timezone;
  std::string uid;
};

/// Of the device as it is now.
AffirmationRequestFields affirmationRequestFields(const std::string& uid);

/// The request without its body.
platform::NSURLRequest affirmationRequest(const platform::URL& url, const std::string& apiKey);

/// The body, a JSON object. Fails on a user identifier that is no text.
std::expected<platform::Data, platform::NSError> affirmationRequestBody(
    const AffirmationRequestFields& fields);

}  // namespace glancery
