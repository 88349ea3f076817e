#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/data/value.h"
#include "platform/foundation/network/url.h"

namespace platform {

enum class NSURLRequestCachePolicy : std::uint8_t { useProtocolCachePolicy };

/// A request to a server. A plain value.
class NSURLRequest {
 public:
  using Headers = std::vector<std::pair<std::string, std::string>>;

  /// `timeoutInterval` is the longest time without a byte, in seconds.
  explicit NSURLRequest(
      URL url,
      NSURLRequestCachePolicy policy = NSURLRequestCachePolicy::useProtocolCachePolicy,
      double timeoutInterval = 60)
      : url_(std::move(url)), policy_(policy), timeoutInterval_(timeoutInterval) {}

  const URL& url() const { return url_; }
  NSURLRequestCachePolicy cachePolicy() const { return policy_; }
  double timeoutInterval() const { return timeoutInterval_; }

  const std::string& httpMethod() const { return httpMethod_; }
  void setHTTPMethod(std::string method) { httpMethod_ = std::move(method); }

  /// In the order in which they were first set.
  const Headers& allHTTPHeaderFields() const { return headers_; }
  /// Replaces a field of that name; the case of names is ignored.
  void setValueForHTTPHeaderField(std::string value, std::string_view field);

  const std::optional<Data>& httpBody() const { return httpBody_; }
  void setHTTPBody(Data body) { httpBody_ = std::move(body); }

 private:
  URL url_;
  NSURLRequestCachePolicy policy_;
  double timeoutInterval_;
  std::string httpMethod_ = "GET";
  Headers headers_ = {};
  std::optional<Data> httpBody_ = {};
};

}  // namespace platform
