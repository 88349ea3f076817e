#include "platform/foundation/network/url_error.h"

#include <array>
#include <utility>

namespace platform {

namespace {

using enum URLErrorCode;

struct Text {
  URLErrorCode code;
  const char* text;
};

// clang-format off
constexpr std::array kTexts = {
    Text{unknown,                    "unknown error"},
    Text{cancelled,                  "cancelled"},
    Text{badURL,                     "bad URL"},
    Text{timedOut,                   "The request timed out."},
    Text{unsupportedURL,             "unsupported URL"},
    Text{cannotFindHost,             "A server with the specified hostname could not be found."},
    Text{cannotConnectToHost,        "Could not connect to the server."},
    Text{networkConnectionLost,      "The network connection was lost."},
    Text{httpTooManyRedirects,       "too many HTTP redirects"},
    Text{notConnectedToInternet,     "The Internet connection appears to be offline."},
    Text{cannotParseResponse,        "cannot parse response"},
    Text{insecureLoadRefused,        "The redirect from https to http was refused."},
    Text{dataLengthExceedsMaximum,   "resource exceeds maximum size"},
    Text{secureConnectionFailed,     "An SSL error has occurred and a secure connection to the server cannot be made."},
    Text{serverCertificateUntrusted, "The certificate for this server is invalid."},
    Text{cannotWriteToFile,          "cannot write to file"},
};
// clang-format on

}  // namespace

NSError urlError(URLErrorCode code, const std::string& why) {
  for (const Text& row : kTexts) {
    if (row.code == code) {
      const std::string text = why.empty() ? row.text : row.text + (": " + why);
      return {NSURLErrorDomain, std::to_underlying(code), text};
    }
  }
  return urlError(unknown, why);
}

}  // namespace platform
