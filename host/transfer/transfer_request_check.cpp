#include "host/transfer/transfer_request_check.h"

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <string_view>

#include "platform/foundation/utf8.h"

namespace host {

namespace {

/// A token by RFC 9110.
bool isToken(std::string_view text) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::ranges::all_of(text, [&](char letter) {
    const bool digit = letter >= '0' && letter <= '9';
    const bool alpha = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
    return digit || alpha || kMarks.find(letter) != kMarks.npos;
  });
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

bool isTransferable(std::string_view url) {
  const std::string scheme(url.substr(0, url.find("//")));
  return ::strcasecmp(scheme.c_str(), "http:") == 0 || ::strcasecmp(scheme.c_str(), "https:") == 0;
}

}  // namespace host
