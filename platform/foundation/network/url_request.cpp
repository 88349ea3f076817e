#include "platform/foundation/network/url_request.h"

#include <strings.h>

#include <algorithm>

namespace platform {

void NSURLRequest::setValueForHTTPHeaderField(std::string value, std::string_view field) {
  const auto found = std::ranges::find_if(headers_, [&](const auto& header) {
    return header.first.size() == field.size() &&
           ::strncasecmp(header.first.data(), field.data(), field.size()) == 0;
  });
  if (found == headers_.end()) {
    headers_.emplace_back(field, std::move(value));
  } else {
    found->second = std::move(value);
  }
}

}  // namespace platform
