#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stop_token>
#include <string_view>
#include <system_error>

#include "host/transfer/transfer_task.h"
#include "platform/foundation/network/url_error.h"
#include "platform/support/files.h"

namespace host {

namespace {

using enum AttemptEnd::Kind;
using enum platform::URLErrorCode;
using platform::NSError;
using platform::urlError;

constexpr int kMostRedirects = 20;
/// Of all headers of one answer.
constexpr std::size_t kMostHeadBytes = 64 << 10;

using HeaderList = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;
using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Multi = std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)>;

struct Failure {
  CURLcode result;
  platform::URLErrorCode code;
  AttemptEnd::Kind kind;
};

// clang-format off
constexpr std::array kFailures = {
    Failure{CURLE_COULDNT_RESOLVE_PROXY,    cannotFindHost,             lost},
    Failure{CURLE_COULDNT_RESOLVE_HOST,     cannotFindHost,             lost},
    Failure{CURLE_COULDNT_CONNECT,          cannotConnectToHost,        lost},
    Failure{CURLE_OPERATION_TIMEDOUT,       timedOut,                   lost},
    Failure{CURLE_PARTIAL_FILE,             networkConnectionLost,      lost},
    Failure{CURLE_GOT_NOTHING,              networkConnectionLost,      lost},
    Failure{CURLE_SEND_ERROR,               networkConnectionLost,      lost},
    Failure{CURLE_RECV_ERROR,               networkConnectionLost,      lost},
    Failure{CURLE_HTTP2,                    networkConnectionLost,      lost},
    Failure{CURLE_HTTP2_STREAM,             networkConnectionLost,      lost},
    Failure{CURLE_SSL_CONNECT_ERROR,        secureConnectionFailed,     refused},
    Failure{CURLE_PEER_FAILED_VERIFICATION, serverCertificateUntrusted, refused},
    Failure{CURLE_SSL_CACERT_BADFILE,       secureConnectionFailed,     refused},
    Failure{CURLE_SSL_CIPHER,               secureConnectionFailed,     refused},
    Failure{CURLE_URL_MALFORMAT,            badURL,                     refused},
    Failure{CURLE_WEIRD_SERVER_REPLY,       cannotParseResponse,        refused},
    // The answer's protocol: the scheme of the URL was checked before.
    Failure{CURLE_UNSUPPORTED_PROTOCOL,     cannotParseResponse,        refused},
    Failure{CURLE_BAD_CONTENT_ENCODING,     cannotParseResponse,        refused},
    Failure{CURLE_WRITE_ERROR,              cannotParseResponse,        refused},
};
// clang-format on

/// What a CURLcode other than CURLE_OK means, given the system's error number or 0.
Failure failureOf(CURLcode result, int systemError) {
  if (result == CURLE_COULDNT_CONNECT && (systemError == ENETUNREACH || systemError == ENETDOWN)) {
    return {result, notConnectedToInternet, lost};
  }
  if (result == CURLE_SSL_CONNECT_ERROR && systemError != 0) {
    return {result, networkConnectionLost, lost};
  }
  const auto* known = std::ranges::find(kFailures, result, &Failure::result);
  return known != kFailures.end() ? *known : Failure{result, unknown, refused};
}

/// The request's headers in libcurl's notation: "Name;" is a header without a value, and "Name:"
/// removes a header that libcurl would add.
HeaderList headerList(const TransferRequest& request) {
  curl_slist* list = curl_slist_append(nullptr, "Expect:");
  bool typed = false;
  for (const auto& [name, value] : request.headers) {
    const std::string kept = value.substr(0, value.find_last_not_of(" \t") + 1);
    const std::size_t first = kept.find_first_not_of(" \t");
    const std::string line = kept.empty() ? name + ";" : name + ": " + kept.substr(first);
    list = curl_slist_append(list, line.c_str());
    typed = typed || curl_strequal(name.c_str(), "Content-Type");
  }
  list = typed ? list : curl_slist_append(list, "Content-Type:");
  return HeaderList(list, curl_slist_free_all);
}

bool isHTTPS(const std::string& url) {
  return curl_strnequal(url.c_str(), "https:", 6) != 0;
}

std::string proxyExceptions() {
  const char* set = std::getenv("no_proxy");
  set = set ? set : std::getenv("NO_PROXY");
  return (set ? std::string(set) + "," : "") + "localhost,127.0.0.1,::1";
}

std::string hostOf(const std::string& url) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsed(curl_url(), curl_url_cleanup);
  char* host = nullptr;
  curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0);
  curl_url_get(parsed.get(), CURLUPART_HOST, &host, 0);
  std::string copy = host ? host : "";
  curl_free(host);
  return copy;
}

/// One attempt: a request, and another one for each redirect that is followed.
class Attempt {
 public:
  Attempt(const TransferTask& task, int body, CURL* handle)
      : handle_(handle),
        request_(task.request),
        firstHost_(hostOf(task.request.url)),
        headers_(nullptr, curl_slist_free_all),
        body_(body) {
    curl_easy_reset(handle_);
    setUp();
    setUpRequest();
  }

  CURL* handle() const { return handle_; }

  /// What the end of the current request means for the attempt. Nothing if it goes on: then the
  /// handle is set up for another request.
  std::optional<AttemptEnd> finish(CURLcode result) {
    if (fileError_) {
      return ended(lost, urlError(cannotWriteToFile, fileError_.message()));
    }
    // libcurl reports a single header beyond its own limit as CURLE_OUT_OF_MEMORY.
    if (headSize_ > kMostHeadBytes || result == CURLE_OUT_OF_MEMORY) {
      return ended(refused, urlError(dataLengthExceedsMaximum));
    }
    // libcurl reports no error when the connection ends within the headers.
    if (result != CURLE_OK || !headEnded_) {
      long system = 0;
      curl_easy_getinfo(handle(), CURLINFO_OS_ERRNO, &system);
      const Failure failure =
          failureOf(result == CURLE_OK ? CURLE_GOT_NOTHING : result, static_cast<int>(system));
      const char* why = failure.code == unknown ? curl_easy_strerror(result) : "";
      return ended(failure.kind, urlError(failure.code, why));
    }
    return redirects() ? follow() : ended(answered, std::nullopt);
  }

  AttemptEnd ended(AttemptEnd::Kind kind, std::optional<NSError> error) const {
    const auto status = status_ >= 200 ? std::optional(static_cast<int>(status_)) : std::nullopt;
    return {kind, {.error = std::move(error), .status = status, .size = size_}, sent_};
  }

 private:
  template <class T>
  void set(CURLoption option, T value) {
    curl_easy_setopt(handle(), option, value);
  }

  void setUp() {
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    set(CURLOPT_NOPROXY, proxyExceptions().c_str());
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (const char* authorities = std::getenv("SSL_CERT_FILE")) {
      set(CURLOPT_CAINFO, authorities);
    }
    // A resolver that hangs must delay neither a cancellation nor the end of the process.
    set(CURLOPT_QUICK_EXIT, 1L);
    set(CURLOPT_NOSIGNAL, 1L);
    // The time without a byte after which an attempt ends, in whole seconds.
    const long timeout = std::lround(std::clamp(std::ceil(request_.timeout), 1.0, 1e6));
    set(CURLOPT_CONNECTTIMEOUT, timeout);
    set(CURLOPT_LOW_SPEED_LIMIT, 1L);
    set(CURLOPT_LOW_SPEED_TIME, timeout);
    set(CURLOPT_PREREQDATA, this);
    set(
        CURLOPT_PREREQFUNCTION, +[](void* self, char*, char*, int, int) {
          static_cast<Attempt*>(self)->sent_ = true;
          return CURL_PREREQFUNC_OK;
        });
    set(CURLOPT_WRITEDATA, this);
    set(
        CURLOPT_WRITEFUNCTION, +[](char* bytes, std::size_t, std::size_t count, void* self) {
          return static_cast<Attempt*>(self)->receive({bytes, count}) ? count : count + 1;
        });
    set(CURLOPT_HEADERDATA, this);
    set(
        CURLOPT_HEADERFUNCTION, +[](char* line, std::size_t, std::size_t count, void* self) {
          return static_cast<Attempt*>(self)->receiveHeader({line, count}) ? count : count + 1;
        });
  }

  void setUpRequest() {
    const std::string& method = request_.method;
    const bool sendsBody = method == "POST" || !request_.body.empty();
    headEnded_ = false;
    // When a reused connection ends without an answer, libcurl repeats the request on a new one,
    // although the server may have received it. Only an idempotent request may be repeated.
    set(CURLOPT_FRESH_CONNECT, isIdempotent(request_.method) ? 0L : 1L);
    set(CURLOPT_URL, request_.url.c_str());
    set(CURLOPT_HTTPGET, 1L);
    if (method == "HEAD") {
      set(CURLOPT_NOBODY, 1L);
    } else if (sendsBody) {
      set(CURLOPT_POST, 1L);
      set(CURLOPT_POSTFIELDS, request_.body.data());
      set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body.size()));
    }
    const bool isDefault = method == "HEAD" || method == (sendsBody ? "POST" : "GET");
    set(CURLOPT_CUSTOMREQUEST, isDefault ? nullptr : method.c_str());
    headers_ = headerList(request_);
    set(CURLOPT_HTTPHEADER, headers_.get());
  }

  bool redirects() const {
    const bool byStatus = status_ == 307 || status_ == 308 || (status_ >= 301 && status_ <= 303);
    curl_header* location = nullptr;
    return byStatus &&
           curl_easy_header(handle(), "Location", 0, CURLH_HEADER, -1, &location) == CURLHE_OK &&
           *location->value != '\0';
  }

  std::optional<AttemptEnd> follow() {
    const char* target = nullptr;
    curl_easy_getinfo(handle(), CURLINFO_REDIRECT_URL, &target);
    const std::string url = target ? target : "";
    const long status = std::exchange(status_, 0);
    if (!isTransferable(url)) {
      return ended(refused, urlError(unsupportedURL));
    }
    if (isHTTPS(request_.url) && !isHTTPS(url)) {
      return ended(refused, urlError(insecureLoadRefused));
    }
    if (++redirects_ > kMostRedirects) {
      return ended(refused, urlError(httpTooManyRedirects));
    }
    // Browsers change the method in the same cases.
    const std::string& method = request_.method;
    if ((status == 303 && method != "HEAD") || (status < 303 && method == "POST")) {
      request_.method = "GET";
      request_.body.clear();
    }
    // Headers may hold the application's keys, which no other host may see.
    if (!curl_strequal(hostOf(url).c_str(), firstHost_.c_str())) {
      std::erase_if(request_.headers, [](const auto& header) {
        return !curl_strequal(header.first.c_str(), "Content-Type");
      });
    }
    request_.url = url;
    setUpRequest();
    return std::nullopt;
  }

  bool receive(std::string_view bytes) {
    if (redirects()) {
      return true;
    }
    fileError_ = platform::writeBytes(body_, bytes);
    size_ += bytes.size();
    return !fileError_;
  }

  bool receiveHeader(std::string_view line) {
    if (line.starts_with("HTTP/")) {
      headSize_ = 0;
      headEnded_ = false;
    }
    curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status_);
    headSize_ += line.size();
    headEnded_ = headEnded_ || line == "\r\n" || line == "\n";
    return headSize_ <= kMostHeadBytes;
  }

  CURL* handle_;
  TransferRequest request_;
  std::string firstHost_;
  int redirects_ = 0;
  HeaderList headers_;
  int body_;
  /// Whether a request of the attempt may have reached a server.
  bool sent_ = false;
  std::error_code fileError_;
  long status_ = 0;
  std::uint64_t size_ = 0;
  std::size_t headSize_ = 0;
  bool headEnded_ = false;
};

}  // namespace

}  // namespace host

extern "C" __attribute__((visibility("default"))) host::AttemptEnd glanceryAttemptTransfer(
    const host::TransferTask& task, int body, std::stop_token stop) {
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
  thread_local const host::Multi multi(curl_multi_init(), curl_multi_cleanup);
  thread_local const host::Easy easy(curl_easy_init(), curl_easy_cleanup);
  if (ready != CURLE_OK || !multi || !easy) {
    return {host::lost, {.error = platform::urlError(platform::URLErrorCode::unknown)}};
  }
  host::Attempt attempt(task, body, easy.get());
  CURLM* const kept = multi.get();
  const std::stop_callback wake(stop, [kept] { curl_multi_wakeup(kept); });
  std::optional<host::AttemptEnd> end;
  while (!end && !stop.stop_requested()) {
    curl_multi_add_handle(kept, attempt.handle());
    const CURLMsg* done = nullptr;
    for (int count = 0; !done && !stop.stop_requested();) {
      curl_multi_perform(kept, &count);
      done = curl_multi_info_read(kept, &count);
      if (!done) {
        curl_multi_poll(kept, nullptr, 0, 1'000'000, nullptr);
      }
    }
    const CURLcode result = done ? done->data.result : CURLE_ABORTED_BY_CALLBACK;
    curl_multi_remove_handle(kept, attempt.handle());
    end = attempt.finish(result);
  }
  return end.value_or(attempt.ended(host::lost, std::nullopt));
}
