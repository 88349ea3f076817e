#include "host/transfer/transfer_task.h"

#include <strings.h>

#include <cmath>
#include <string_view>

#include "platform/support/utf8.h"

namespace host {

namespace {

/// By RFC 9110, section 5.6.2.
bool isToken(std::string_view text) {
  return !text.empty() && text.find_first_not_of(
                              "!#$%&'*+-.^_`|~0123456789abcdefghijklmnopqrstuvwxyz"
                              "ABCDEFGHIJKLMNOPQRSTUVWXYZ") == text.npos;
}

std::unexpected<std::string> fault(const std::string& what, const std::string& value) {
  return std::unexpected("the request's " + what + " \"" + platform::excerpt(value) + "\"");
}

}  // namespace

std::expected<void, std::string> checkRequest(const TransferRequest& request) {
  constexpr std::string_view kBreaks("\r\n\0", 3);
  if (!isToken(request.method)) {
    return fault("method is not a token:", request.method);
  }
  if (request.url.find('\0') != request.url.npos) {
    return fault("URL holds a NUL:", request.url);
  }
  for (const auto& [name, value] : request.headers) {
    if (!isToken(name)) {
      return fault("header name is not a token:", name);
    }
    if (value.find_first_of(kBreaks) != value.npos) {
      return fault("header " + name + " holds a line break or a NUL:", value);
    }
  }
  if (!std::isfinite(request.timeout) || request.timeout <= 0) {
    return fault("timeout is not a positive number:", std::to_string(request.timeout));
  }
  return {};
}

bool isIdempotent(std::string_view method) {
  return method != "POST" && method != "PATCH" && method != "CONNECT";
}

bool isTransferable(const std::string& url) {
  return ::strncasecmp(url.c_str(), "http://", 7) == 0 ||
         ::strncasecmp(url.c_str(), "https://", 8) == 0;
}

}  // namespace host
