#include "host/transfer/transfer_url.h"

#include <strings.h>

namespace host {

bool isTransferable(std::string_view url) {
  constexpr std::string_view kSecure = "https://";
  constexpr std::string_view kPlain = "http://";
  return (url.size() >= kSecure.size() &&
          ::strncasecmp(url.data(), kSecure.data(), kSecure.size()) == 0) ||
         (url.size() >= kPlain.size() &&
          ::strncasecmp(url.data(), kPlain.data(), kPlain.size()) == 0);
}

}  // namespace host
