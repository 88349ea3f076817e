#include "host/transfer/transfer_url.h"

#include <algorithm>

namespace host {

bool isTransferable(std::string_view url) {
  return std::ranges::any_of(
      std::initializer_list<std::string_view>{"http://", "https://"}, [&](std::string_view scheme) {
        return url.size() >= scheme.size() &&
               std::equal(scheme.begin(), scheme.end(), url.begin(), [](char known, char letter) {
                 const bool upper = letter >= 'A' && letter <= 'Z';
                 return known == (upper ? letter + 0x20 : letter);
               });
      });
}

}  // namespace host
