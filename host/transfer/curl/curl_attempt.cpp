#include "host/transfer/curl/curl_attempt.h"

#include <curl/curl.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <system_error>

#include "host/transfer/curl/curl_error.h"
#include "host/transfer/transfer_error.h"

namespace host {

using platform::NSError;

namespace {

constexpr std::string_view kBlank = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlank);
  return first == text.npos ? std::string_view()
                            : text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, [](char left, char right) {
    return (left | (left >= 'A' && left <= 'Z' ? 0x20 : 0)) ==
           (right | (right >= 'A' && right <= 'Z' ? 0x20 : 0));
  });
}

/// The request's headers in curl's words: a header that ends in a semicolon is sent without a
/// value. What curl would add of its own accord is taken out.
curl_slist* headerList(const TransferRequest& request) {
  curl_slist* list = nullptr;
  bool typed = false;
  for (const auto& [name, value] : request.headers) {
    const std::string_view text = trimmed(value);
    const std::string line = text.empty() ? name + ";" : name + ": " + std::string(text);
    list = curl_slist_append(list, line.c_str());
    typed = typed || equalIgnoringCase(name, "Content-Type");
  }
  list = curl_slist_append(list, "Expect:");
  return typed ? list : curl_slist_append(list, "Content-Type:");
}

std::string proxyExceptions() {
  const char* known = std::getenv("no_proxy");
  known = known ? known : std::getenv("NO_PROXY");
  return (known ? std::string(known) + "," : "") + "localhost,127.0.0.1,::1";
}

template <class T>
T info(CURL* handle, CURLINFO which) {
  T value = {};
  curl_easy_getinfo(handle, which, &value);
  return value;
}

}  // namespace

CurlAttempt::CurlAttempt(CURL* handle,
                         const TransferTask& task,
                         const std::filesystem::path& body,
                         double now)
    : lastByte(now),
      timeout(task.request.timeout),
      handle_(handle),
      id_(task.id),
      url_(task.request.url),
      requestBody_(task.request.body),
      headers_(headerList(task.request), curl_slist_free_all),
      body_(::open(body.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)) {
  fileError_ = body_ ? 0 : errno;
  setUp(task);
}

CurlAttempt::~CurlAttempt() {
  curl_easy_reset(handle_);
}

void CurlAttempt::setUp(const TransferTask& task) {
  const auto set = [this](CURLoption option, auto value) {
    curl_easy_setopt(handle_, option, value);
  };
  set(CURLOPT_URL, url_.c_str());
  set(CURLOPT_PRIVATE, this);
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  set(CURLOPT_NOPROXY, proxyExceptions().c_str());
  if (const char* authorities = std::getenv("SSL_CERT_FILE")) {
    set(CURLOPT_CAINFO, authorities);
  }

  const std::string& method = task.request.method;
  const bool hasBody = !requestBody_.empty();
  if (method == "HEAD") {
    set(CURLOPT_NOBODY, 1L);
  } else if (method == "POST" || hasBody) {
    set(CURLOPT_POST, 1L);
    set(CURLOPT_POSTFIELDS, requestBody_.data());
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(requestBody_.size()));
  }
  if (method != "GET" && method != "HEAD" && method != "POST") {
    set(CURLOPT_CUSTOMREQUEST, method.c_str());
  } else if (method == "GET" && hasBody) {
    set(CURLOPT_CUSTOMREQUEST, "GET");
  }
  set(CURLOPT_HTTPHEADER, headers_.get());
  // As the platform does: a POST becomes a GET at 301 and 302, every method at 303; else all stays.
  set(CURLOPT_FOLLOWLOCATION, 1L);
  if (method != "POST") {
    set(CURLOPT_POSTREDIR, CURL_REDIR_POST_301 | CURL_REDIR_POST_302);
  }
  set(CURLOPT_MAXREDIRS, 20L);

  set(CURLOPT_WRITEFUNCTION, &CurlAttempt::onBody);
  set(CURLOPT_WRITEDATA, this);
  set(CURLOPT_HEADERFUNCTION, &CurlAttempt::onHeader);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_NOPROGRESS, 0L);
  set(CURLOPT_XFERINFOFUNCTION, &CurlAttempt::onProgress);
  set(CURLOPT_XFERINFODATA, this);
  set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  // For the bodies behind a status below 200; see `isLastWord`.
  set(CURLOPT_HTTP09_ALLOWED, 1L);
}

AttemptEnd CurlAttempt::end(int result) {
  if (fileError_ != 0) {
    NSError error = urlError(URLErrorCode::cannotWriteToFile);
    error.localizedDescription += ": " + std::generic_category().message(fileError_);
    return {id_, AttemptEnd::Kind::lost, answer(), error};
  }
  if (isWhole(result)) {
    answer_.url = info<const char*>(handle_, CURLINFO_EFFECTIVE_URL);
    return {id_, AttemptEnd::Kind::answered, answer_, std::nullopt};
  }
  const char* effective = info<const char*>(handle_, CURLINFO_EFFECTIVE_URL);
  const CurlFailure failure =
      result == CURLE_OK ? failureOf(CURLE_GOT_NOTHING, 0, "")
                         : failureOf(result,
                                     static_cast<int>(info<long>(handle_, CURLINFO_OS_ERRNO)),
                                     effective ? effective : "");
  return {id_,
          failure.final ? AttemptEnd::Kind::refused : AttemptEnd::Kind::lost,
          answer(),
          failure.error};
}

AttemptEnd CurlAttempt::timeOut() const {
  return {id_, AttemptEnd::Kind::lost, answer(), urlError(URLErrorCode::timedOut)};
}

bool CurlAttempt::receive(std::string_view bytes) {
  progress_ = true;
  if (answer_.status == 0) {
    return false;  // Bytes without a status line are no HTTP.
  }
  while (!bytes.empty()) {
    const ssize_t written = ::write(body_.get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written < 0) {
      fileError_ = errno;
      return false;
    }
    answer_.size += static_cast<std::uint64_t>(written);
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return !endsByCount();
}

bool CurlAttempt::receiveHeader(std::string_view line) {
  progress_ = true;
  if (line.starts_with("HTTP/")) {
    answer_.status = 0;
    answer_.headers.clear();
    headEnded_ = false;
    const std::size_t space = std::min(line.find(' '), line.size() - 1);
    std::from_chars(line.data() + space + 1, line.data() + line.size(), answer_.status);
    if (answer_.status == 303) {
      curl_easy_setopt(handle_, CURLOPT_CUSTOMREQUEST, nullptr);
    }
    return true;
  }
  const std::size_t colon = line.find(':');
  if (colon != line.npos) {
    answer_.headers.emplace_back(trimmed(line.substr(0, colon)), trimmed(line.substr(colon + 1)));
  }
  headEnded_ = headEnded_ || trimmed(line).empty();  // Trailers come behind the body.
  return !headEnded_ || !endsByCount();
}

/// A status below 200 announces the real answer, and curl waits for that. Yet servers have been
/// seen to give one as their last word; curl then takes the body for an answer of the oldest kind,
/// which has no head. Only the three that are known to announce something are never a last word.
bool CurlAttempt::isLastWord() const {
  const bool announces = answer_.status == 100 || answer_.status == 102 || answer_.status == 103;
  return answer_.status >= 100 && !announces;
}

std::optional<std::uint64_t> CurlAttempt::announcedSize() const {
  for (const auto& [name, value] : answer_.headers) {
    std::uint64_t size = 0;
    if (equalIgnoringCase(name, "Content-Length") &&
        std::from_chars(value.data(), value.data() + value.size(), size).ec == std::errc()) {
      return size;
    }
  }
  return std::nullopt;
}

/// Whether the answer is one whose end curl does not see, and that end is reached.
bool CurlAttempt::endsByCount() const {
  const auto announced = announcedSize();
  return answer_.status < 200 && isLastWord() && announced && answer_.size >= *announced;
}

bool CurlAttempt::isWhole(int result) const {
  if (answer_.status >= 200) {
    return result == CURLE_OK && headEnded_;  // curl takes a head that was cut for a whole one.
  }
  const bool closed = result == CURLE_OK || result == CURLE_GOT_NOTHING;
  return endsByCount() || (closed && isLastWord() && !announcedSize());
}

std::optional<TransferAnswer> CurlAttempt::answer() const {
  return answer_.status < 200 ? std::nullopt : std::optional(answer_);
}

std::size_t CurlAttempt::onBody(char* bytes, std::size_t, std::size_t count, void* self) {
  const bool wanted = static_cast<CurlAttempt*>(self)->receive({bytes, count});
  return wanted ? count : count + 1;
}

std::size_t CurlAttempt::onHeader(char* bytes, std::size_t, std::size_t count, void* self) {
  const bool wanted = static_cast<CurlAttempt*>(self)->receiveHeader({bytes, count});
  return wanted ? count : count + 1;
}

int CurlAttempt::onProgress(
    void* self, std::int64_t, std::int64_t down, std::int64_t, std::int64_t up) {
  auto& attempt = *static_cast<CurlAttempt*>(self);
  if (std::exchange(attempt.moved_, down + up) != down + up) {
    attempt.progress_ = true;
  }
  return 0;
}

}  // namespace host
