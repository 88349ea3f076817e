#include "platform/foundation/debug_description.h"

#include "platform/foundation/require.h"

namespace platform {

namespace {

bool standsForItself(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x20 && byte != 0x7F && c != '"' && c != '\\';
}

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

void appendQuoted(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    if (standsForItself(c)) {
      out += c;
    } else {
      appendEscaped(out, c);
    }
  }
  out += '"';
}

}  // namespace

std::string debugDescription(const Dictionary& strings) {
  if (strings.empty()) {
    return "[:]";
  }
  std::string out = "[";
  for (const auto& [key, value] : strings) {
    const auto* text = value.as<std::string>();
    if (!text) {
      fatalError("the printed form of \"" + key + "\", which is no string, is not implemented");
    }
    out += out.size() == 1 ? "" : ", ";
    appendQuoted(out, key);
    out += ": ";
    appendQuoted(out, *text);
  }
  out += ']';
  return out;
}

}  // namespace platform
