#include "platform/foundation/text/uuid.h"

#include <sys/random.h>

#include "platform/support/require.h"

namespace platform {

UUID::UUID() {
  // Fewer bytes than 256 come whole, once the system has any at all.
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
  for (std::size_t index = 0; index < bytes_.size(); ++index) {
    if (index == 4 || index == 6 || index == 8 || index == 10) {
      text += '-';
    }
    text += kDigits[bytes_[index] >> 4];
    text += kDigits[bytes_[index] & 0xF];
  }
  return text;
}

}  // namespace platform
