#include <curl/curl.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "host/transfer/curl/curl_error.h"
#include "host/transfer/transfer_attempt.h"
#include "host/transfer/transfer_task.h"
#include "platform/foundation/network/url_error.h"
#include "platform/support/files.h"

namespace host {

using enum AttemptEnd::Kind;
using platform::NSError;
using platform::urlError;

namespace {

constexpr int kMostHops = 20;
/// Of all headers of one answer.
constexpr std::size_t kMostHeadBytes = 64 << 10;

using HeaderList = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;
using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Multi = std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)>;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlank);
  return first == text.npos ? std::string_view()
                            : text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

/// The request's headers in libcurl's notation, in which a trailing semicolon stands for a header
/// without a value and a trailing colon removes one that libcurl would add.
HeaderList headerList(const TransferRequest& request) {
  curl_slist* list = curl_slist_append(nullptr, "Expect:");
  bool typed = false;
  for (const auto& [name, value] : request.headers) {
    const std::string_view text = trimmed(value);
    const std::string line = text.empty() ? name + ";" : name + ": " + std::string(text);
    list = curl_slist_append(list, line.c_str());
    typed = typed || equalIgnoringCase(name, "Content-Type");
  }
  list = typed ? list : curl_slist_append(list, "Content-Type:");
  return HeaderList(list, curl_slist_free_all);
}

std::string proxyExceptions() {
  const char* known = std::getenv("no_proxy");
  known = known ? known : std::getenv("NO_PROXY");
  return (known ? std::string(known) + "," : "") + "localhost,127.0.0.1,::1";
}

std::string hostOf(const std::string& url) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsed(curl_url(), curl_url_cleanup);
  char* host = nullptr;
  curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0);
  curl_url_get(parsed.get(), CURLUPART_HOST, &host, 0);
  const std::string copy = host ? host : "";
  curl_free(host);
  return copy;
}

bool isSecure(std::string_view url) {
  return equalIgnoringCase(url.substr(0, 6), "https:");
}

/// One attempt: a request, and another one for each redirect that is followed.
class Attempt {
 public:
  Attempt(const TransferTask& task, int body)
      : easy_(curl_easy_init(), curl_easy_cleanup),
        request_(task.request),
        firstHost_(hostOf(task.request.url)),
        headers_(nullptr, curl_slist_free_all),
        body_(body) {
    setUp();
    setUpRequest();
  }

  CURL* handle() const { return easy_.get(); }

  /// What the end of the current request means; `result` is a CURLcode. Nothing if the handle is
  /// set up for another request.
  std::optional<AttemptEnd> finish(CURLcode result) {
    if (fileError_) {
      NSError error = urlError(cannotWriteToFile);
      error.localizedDescription += ": " + fileError_.message();
      return ended(lost, error);
    }
    // libcurl says that it has no memory when a single header exceeds its own limit.
    if (headSize_ > kMostHeadBytes || result == CURLE_OUT_OF_MEMORY) {
      return ended(refused, urlError(dataLengthExceedsMaximum));
    }
    // libcurl takes a head that was cut off for a complete one.
    if (result != CURLE_OK || !headEnded_) {
      const int system = static_cast<int>(info(CURLINFO_OS_ERRNO));
      const auto [code, error, final] =
          failureOf(result == CURLE_OK ? CURLE_GOT_NOTHING : result, system);
      NSError described = urlError(error);
      if (error == unknown) {
        described.localizedDescription += std::string(": ") + curl_easy_strerror(code);
      }
      return ended(final ? refused : lost, described);
    }
    return redirects() ? follow() : ended(answered, std::nullopt);
  }

  AttemptEnd ended(AttemptEnd::Kind kind, std::optional<NSError> error) const {
    const bool sent = hops_ > 0 || info(CURLINFO_REQUEST_SIZE) > 0;
    const auto status = status_ >= 200 ? std::optional(status_) : std::nullopt;
    return {kind, {.error = std::move(error), .status = status, .size = size_}, sent};
  }

 private:
  template <class T>
  void set(CURLoption option, T value) {
    curl_easy_setopt(handle(), option, value);
  }
  long info(CURLINFO which) const {
    long value = 0;
    curl_easy_getinfo(handle(), which, &value);
    return value;
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
    return hasLocation_ && (status_ == 307 || status_ == 308 || (status_ >= 301 && status_ <= 303));
  }

  std::optional<AttemptEnd> follow() {
    const char* target = nullptr;
    curl_easy_getinfo(handle(), CURLINFO_REDIRECT_URL, &target);
    const std::string url = target ? target : "";
    const int status = std::exchange(status_, 0);
    if (!isTransferable(url)) {
      return ended(refused, urlError(unsupportedURL));
    }
    if (isSecure(request_.url) && !isSecure(url)) {
      return ended(refused, urlError(insecureLoadRefused));
    }
    if (++hops_ > kMostHops) {
      return ended(refused, urlError(httpTooManyRedirects));
    }
    // As browsers do.
    const std::string& method = request_.method;
    if ((status == 303 && method != "HEAD") || (status < 303 && method == "POST")) {
      request_.method = "GET";
      request_.body.clear();
    }
    // The headers may hold keys of the application, which are for the first host only.
    if (!equalIgnoringCase(hostOf(url), firstHost_)) {
      std::erase_if(request_.headers, [](const auto& header) {
        return !equalIgnoringCase(header.first, "Content-Type");
      });
    }
    request_.url = url;
    headEnded_ = false;
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
      status_ = 0;
      hasLocation_ = false;
      headEnded_ = false;
      const std::size_t space = std::min(line.find(' '), line.size() - 1);
      std::from_chars(line.data() + space + 1, line.data() + line.size(), status_);
    }
    headSize_ += line.size();
    const std::size_t colon = std::min(line.find(':'), line.size() - 1);
    hasLocation_ = hasLocation_ || (equalIgnoringCase(line.substr(0, colon), "Location") &&
                                    !trimmed(line.substr(colon + 1)).empty());
    headEnded_ = headEnded_ || trimmed(line).empty();
    return headSize_ <= kMostHeadBytes;
  }

  Easy easy_;
  TransferRequest request_;
  std::string firstHost_;
  int hops_ = 0;
  HeaderList headers_;
  int body_;
  std::error_code fileError_;
  int status_ = 0;
  std::uint64_t size_ = 0;
  std::size_t headSize_ = 0;
  bool hasLocation_ = false;
  bool headEnded_ = false;
};

}  // namespace

}  // namespace host

extern "C" __attribute__((visibility("default"))) host::AttemptEnd glanceryAttemptTransfer(
    const host::TransferTask& task, int body, std::stop_token stop) {
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
  host::Attempt attempt(task, body);
  const host::Multi multi(curl_multi_init(), curl_multi_cleanup);
  if (ready != CURLE_OK || !multi || !attempt.handle()) {
    return attempt.ended(host::lost, platform::urlError(platform::URLErrorCode::unknown));
  }
  const std::stop_callback wake(stop, [&] { curl_multi_wakeup(multi.get()); });
  std::optional<host::AttemptEnd> end;
  while (!end && !stop.stop_requested()) {
    curl_multi_add_handle(multi.get(), attempt.handle());
    const CURLMsg* done = nullptr;
    for (int count = 0; !done && !stop.stop_requested();) {
      curl_multi_perform(multi.get(), &count);
      done = curl_multi_info_read(multi.get(), &count);
      if (!done) {
        curl_multi_poll(multi.get(), nullptr, 0, 1'000'000, nullptr);
      }
    }
    const CURLcode result = done ? done->data.result : CURLE_ABORTED_BY_CALLBACK;
    curl_multi_remove_handle(multi.get(), attempt.handle());
    end = attempt.finish(result);
  }
  return end.value_or(attempt.ended(host::lost, std::nullopt));
}
