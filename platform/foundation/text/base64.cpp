#include "platform/foundation/text/base64.h"

#include <resolv.h>

namespace platform {

std::string encodeBase64(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0');
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
  b64_ntop(data, bytes.size(), text.data(), text.size());
  text.pop_back();  // The C library ends the text with a NUL.
  return text;
}

std::optional<std::string> decodeBase64(std::string_view text) {
  std::string bytes(text.size(), '\0');
  auto* data = reinterpret_cast<unsigned char*>(bytes.data());
  const int size = b64_pton(std::string(text).c_str(), data, bytes.size());
  if (size < 0) {
    return std::nullopt;
  }
  bytes.resize(static_cast<std::size_t>(size));
  // The C library also takes white space.
  return encodeBase64(bytes) == text ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace platform
