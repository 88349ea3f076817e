#pragma once

#include <cstdint>
#include <string>

#include "platform/foundation/data/error.h"

namespace platform {

inline constexpr const char* NSURLErrorDomain = "NSURLErrorDomain";

/// Errors of transfers, by the platform's numbers.
enum class URLErrorCode : std::int64_t {
  unknown = -1,
  cancelled = -999,
  badURL = -1000,
  timedOut = -1001,
  unsupportedURL = -1002,
  cannotFindHost = -1003,
  cannotConnectToHost = -1004,
  networkConnectionLost = -1005,
  httpTooManyRedirects = -1007,
  notConnectedToInternet = -1009,
  cannotParseResponse = -1017,
  insecureLoadRefused = -1022,
  dataLengthExceedsMaximum = -1103,
  secureConnectionFailed = -1200,
  serverCertificateUntrusted = -1202,
  cannotWriteToFile = -3003,
};

/// The error with this code and the platform's description of it, followed by `why` if that is not
/// empty.
NSError urlError(URLErrorCode code, const std::string& why = {});

}  // namespace platform
