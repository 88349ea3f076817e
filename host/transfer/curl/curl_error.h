#pragma once

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/foundation/network/url_error.h"

namespace host {

using enum platform::URLErrorCode;

struct CurlFailure {
  CURLcode result;
  platform::URLErrorCode code;
  /// Another attempt would fail as well.
  bool final;
};

// clang-format off
inline constexpr std::array kCurlFailures = {
    CurlFailure{CURLE_COULDNT_RESOLVE_PROXY,    cannotFindHost,             false},
    CurlFailure{CURLE_COULDNT_RESOLVE_HOST,     cannotFindHost,             false},
    CurlFailure{CURLE_COULDNT_CONNECT,          cannotConnectToHost,        false},
    CurlFailure{CURLE_OPERATION_TIMEDOUT,       timedOut,                   false},
    CurlFailure{CURLE_PARTIAL_FILE,             networkConnectionLost,      false},
    CurlFailure{CURLE_GOT_NOTHING,              networkConnectionLost,      false},
    CurlFailure{CURLE_SEND_ERROR,               networkConnectionLost,      false},
    CurlFailure{CURLE_RECV_ERROR,               networkConnectionLost,      false},
    CurlFailure{CURLE_HTTP2,                    networkConnectionLost,      false},
    CurlFailure{CURLE_HTTP2_STREAM,             networkConnectionLost,      false},
    CurlFailure{CURLE_SSL_CONNECT_ERROR,        secureConnectionFailed,     true},
    CurlFailure{CURLE_PEER_FAILED_VERIFICATION, serverCertificateUntrusted, true},
    CurlFailure{CURLE_SSL_CACERT_BADFILE,       secureConnectionFailed,     true},
    CurlFailure{CURLE_SSL_CIPHER,               secureConnectionFailed,     true},
    CurlFailure{CURLE_URL_MALFORMAT,            badURL,                     true},
    CurlFailure{CURLE_TOO_MANY_REDIRECTS,       httpTooManyRedirects,       true},
    CurlFailure{CURLE_WEIRD_SERVER_REPLY,       cannotParseResponse,        true},
    // Of the answer: no URL of another scheme gets here.
    CurlFailure{CURLE_UNSUPPORTED_PROTOCOL,     cannotParseResponse,        true},
    CurlFailure{CURLE_BAD_CONTENT_ENCODING,     cannotParseResponse,        true},
    CurlFailure{CURLE_WRITE_ERROR,              cannotParseResponse,        true},
};
// clang-format on

/// What a CURLcode other than CURLE_OK means, given the number of the system's error or 0. The rest
/// is unknown, and final.
inline CurlFailure failureOf(CURLcode result, int systemError) {
  if (result == CURLE_COULDNT_CONNECT && (systemError == ENETUNREACH || systemError == ENETDOWN)) {
    return {result, notConnectedToInternet, false};
  }
  if (result == CURLE_SSL_CONNECT_ERROR && systemError != 0) {
    return {result, networkConnectionLost, false};
  }
  const auto* known = std::ranges::find(kCurlFailures, result, &CurlFailure::result);
  return known != kCurlFailures.end() ? *known : CurlFailure{result, unknown, true};
}

}  // namespace host
