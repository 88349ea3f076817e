#include "platform/foundation/data/debug_description.h"

#include "platform/foundation/text/plain_text.h"
#include "platform/support/require.h"

namespace platform {

namespace {

void appendEscaped(std::string& out, char c) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  switch (c) {
    case '"':
    case '\\':
      out += '\\';
      out += c;
      break;
    case '\0':
      out += "\\0";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\r':
      out += "\\r";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      out += "\\u{";
      out += kDigits[static_cast<unsigned char>(c) >> 4];
      out += kDigits[static_cast<unsigned char>(c) & 0xF];
      out += '}';
  }
}

void appendEscaped(std::string& out, std::string_view text) {
  for (;;) {
    const std::size_t plain = plainLength(text);
    out += text.substr(0, plain);
    if (plain == text.size()) {
      break;
    }
    appendEscaped(out, text[plain]);
    text.remove_prefix(plain + 1);
  }
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
      fatalError("the printed form of \"" + key + "\", which is no string, is not implemented");
    }
    out += out.empty() ? "[\"" : ", \"";
    appendEscaped(out, key);
    out += "\": \"";
    appendEscaped(out, *text);
    out += '"';
  }
  out += ']';
  return out;
}

}  // namespace platform
