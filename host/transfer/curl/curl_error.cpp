#include "host/transfer/curl/curl_error.h"

#include <curl/curl.h>

#include <array>
#include <cerrno>
#include <string>

#include "platform/foundation/url_error.h"

namespace host {

namespace {

using platform::URLErrorCode;
using platform::urlError;
using enum URLErrorCode;

struct Row {
  CURLcode result;
  URLErrorCode code;
  bool final;
};

// clang-format off
constexpr std::array kRows = {
    Row{CURLE_COULDNT_RESOLVE_PROXY,    cannotFindHost,             false},
    Row{CURLE_COULDNT_RESOLVE_HOST,     cannotFindHost,             false},
    Row{CURLE_COULDNT_CONNECT,          cannotConnectToHost,        false},
    Row{CURLE_OPERATION_TIMEDOUT,       timedOut,                   false},
    Row{CURLE_PARTIAL_FILE,             networkConnectionLost,      false},
    Row{CURLE_GOT_NOTHING,              networkConnectionLost,      false},
    Row{CURLE_SEND_ERROR,               networkConnectionLost,      false},
    Row{CURLE_RECV_ERROR,               networkConnectionLost,      false},
    Row{CURLE_HTTP2,                    networkConnectionLost,      false},
    Row{CURLE_HTTP2_STREAM,             networkConnectionLost,      false},
    Row{CURLE_SSL_CONNECT_ERROR,        secureConnectionFailed,     true},
    Row{CURLE_PEER_FAILED_VERIFICATION, serverCertificateUntrusted, true},
    Row{CURLE_SSL_CACERT_BADFILE,       secureConnectionFailed,     true},
    Row{CURLE_SSL_CIPHER,               secureConnectionFailed,     true},
    Row{CURLE_URL_MALFORMAT,            badURL,                     true},
    Row{CURLE_TOO_MANY_REDIRECTS,       httpTooManyRedirects,       true},
    Row{CURLE_WEIRD_SERVER_REPLY,       cannotParseResponse,        true},
    // Of the answer: no URL of another scheme gets here.
    Row{CURLE_UNSUPPORTED_PROTOCOL,     cannotParseResponse,        true},
    Row{CURLE_BAD_CONTENT_ENCODING,     cannotParseResponse,        true},
    Row{CURLE_WRITE_ERROR,              cannotParseResponse,        true},
};
// clang-format on

}  // namespace

CurlFailure failureOf(int result, int systemError) {
  if (result == CURLE_COULDNT_CONNECT && (systemError == ENETUNREACH || systemError == ENETDOWN)) {
    return {urlError(notConnectedToInternet), false};
  }
  if (result == CURLE_SSL_CONNECT_ERROR && systemError != 0) {
    return {urlError(networkConnectionLost), false};
  }
  for (const Row& row : kRows) {
    if (row.result == result) {
      return {urlError(row.code), row.final};
    }
  }
  platform::NSError error = urlError(unknown);
  error.localizedDescription +=
      std::string(": ") + curl_easy_strerror(static_cast<CURLcode>(result));
  return {error, true};
}

}  // namespace host
