#include "platform/foundation/data/debug_description.h"

#include "platform/support/require.h"

namespace platform {

namespace {

void appendQuoted(std::string& out, std::string_view text) {
  constexpr std::string_view kEscaped("\"\\\0\n\r\t", 6);
  constexpr std::string_view kLetters = "\"\\0nrt";
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  out += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && c != '"' && c != '\\' && byte != 0x7F) {
      out += c;
    } else if (const auto letter = kEscaped.find(c); letter != kEscaped.npos) {
      out += {'\\', kLetters[letter]};
    } else {
      out += {'\\', 'u', '{', kDigits[byte >> 4], kDigits[byte & 0xF], '}'};
    }
  }
  out += '"';
}

}  // namespace

std::string debugDescription(const Dictionary& strings) {
  if (strings.empty()) {
    return "[:]";
  }
  std::string out;
  for (const auto& [key, value] : strings) {
    const auto* text = value.as<std::string>();
    if (!text) {
      fatalError("the printed form of \"" + key + "\", which is not a string, is not implemented");
    }
    out += out.empty() ? "[" : ", ";
    appendQuoted(out, key);
    out += ": ";
    appendQuoted(out, *text);
  }
  return out += ']';
}

}  // namespace platform
