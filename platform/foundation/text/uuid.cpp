#include "platform/foundation/text/uuid.h"

#include <sys/random.h>

#include "platform/support/require.h"

namespace platform {

UUID::UUID() {
  // The system never cuts a request for less than 256 bytes short.
  if (::getrandom(bytes_.data(), bytes_.size(), 0) != static_cast<ssize_t>(bytes_.size())) {
    fatalError("the system gives no random numbers");
  }
  const auto fix = [](std::uint8_t& byte, unsigned keep, unsigned set) {
    byte = static_cast<std::uint8_t>((byte & keep) | set);
  };
  fix(bytes_[6], 0x0F, 0x40);
  fix(bytes_[8], 0x3F, 0x80);
}

std::string UUID::uuidString() const {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes_) {
    text += {kDigits[byte >> 4], kDigits[byte & 0xF]};
  }
  for (const std::size_t dash : {8, 13, 18, 23}) {
    text.insert(dash, 1, '-');
  }
  return text;
}

}  // namespace platform
