#include "platform/foundation/network/url.h"

#include <arpa/inet.h>
#include <unicode/bytestream.h>
#include <unicode/idna.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>
#include <system_error>

#include "platform/support/require.h"
#include "platform/support/utf8.h"

namespace platform {

namespace {

// The grammar's sets of characters, beside letters and digits.
constexpr std::string_view kUnreserved = "-._~";
constexpr std::string_view kSubDelimiters = "!$&'()*+,;=";

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isHexDigit(char c) {
  return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Whether a character may stand in a user's name, a registered host, a path, a query or a
/// fragment, which allow the same but for `others`.
bool isAllowed(char c, std::string_view others) {
  return isLetter(c) || isDigit(c) || kUnreserved.find(c) != std::string_view::npos ||
         kSubDelimiters.find(c) != std::string_view::npos ||
         others.find(c) != std::string_view::npos;
}

bool isPercentEncoding(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' && isHexDigit(text[1]) && isHexDigit(text[2]);
}

void appendPercentEncoded(std::string& out, char c) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  out += {'%', digits[byte >> 4], digits[byte & 0xF]};
}

/// The text with what may not stand in it percent-encoded; encodings that it already has stay.
std::string mended(std::string_view text, std::string_view others) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isAllowed(text[i], others) || isPercentEncoding(text.substr(i))) {
      result += text[i];
    } else {
      appendPercentEncoded(result, text[i]);
    }
  }
  return result;
}

bool isScheme(std::string_view text) {
  // The platform lets an address begin with its colon: its scheme is then the empty one.
  return text.empty() || (isLetter(text[0]) && std::ranges::all_of(text, [](char c) {
                            return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
                          }));
}

bool isRegisteredName(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!isAllowed(text[i], "") && !isPercentEncoding(text.substr(i))) {
      return false;
    }
  }
  return true;
}

/// What stands between brackets: an IPv6 address, or one of a later version ("v7.x:y").
bool isAddressLiteral(std::string_view text) {
  if (text.starts_with('v') || text.starts_with('V')) {
    const std::size_t dot = text.find('.');
    return dot != std::string_view::npos && dot > 1 && dot + 1 < text.size() &&
           std::ranges::all_of(text.substr(1, dot - 1), isHexDigit) &&
           std::ranges::all_of(text.substr(dot + 1), [](char c) { return isAllowed(c, ":"); });
  }
  in6_addr address;
  return text.find('\0') == std::string_view::npos &&
         ::inet_pton(AF_INET6, std::string(text).c_str(), &address) == 1;
}

/// Punycode for a host with letters outside ASCII; nothing for one that no registry would take.
std::optional<std::string> encodedHost(std::string_view host) {
  if (std::ranges::all_of(host, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
    return isRegisteredName(host) ? std::optional(std::string(host)) : std::nullopt;
  }
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::IDNA> idna(icu::IDNA::createUTS46Instance(
      UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ | UIDNA_NONTRANSITIONAL_TO_ASCII, status));
  if (U_FAILURE(status)) {
    return std::nullopt;
  }
  std::string encoded;
  icu::StringByteSink<std::string> sink(&encoded);
  icu::IDNAInfo info;
  idna->nameToASCII_UTF8(
      icu::StringPiece(host.data(), static_cast<std::int32_t>(host.size())), sink, info, status);
  if (U_FAILURE(status) || info.hasErrors() || !isRegisteredName(encoded)) {
    return std::nullopt;
  }
  return encoded;
}

/// The parts of "user@host:port", each with the sign that sets it off.
struct Authority {
  std::string_view user;
  std::string_view host;
  std::string_view port;
};

Authority splitAuthority(std::string_view text) {
  Authority parts;
  if (const std::size_t at = text.find('@'); at != std::string_view::npos) {
    parts.user = text.substr(0, at + 1);
    text.remove_prefix(at + 1);
  }
  // The colons of an address in brackets set off no port.
  const std::size_t afterBrackets = text.starts_with('[') ? text.find(']') : 0;
  const std::size_t colon = afterBrackets == std::string_view::npos ? std::string_view::npos
                                                                    : text.find(':', afterBrackets);
  parts.host = text.substr(0, colon);
  if (colon != std::string_view::npos) {
    parts.port = text.substr(colon);
  }
  return parts;
}

std::optional<std::string> mendedAuthority(std::string_view text) {
  const Authority parts = splitAuthority(text);
  if (!parts.port.empty() && !std::ranges::all_of(parts.port.substr(1), isDigit)) {
    return std::nullopt;
  }
  std::optional<std::string> host;
  if (!parts.host.starts_with('[')) {
    host = encodedHost(parts.host);
  } else if (parts.host.ends_with(']') &&
             isAddressLiteral(parts.host.substr(1, parts.host.size() - 2))) {
    host = parts.host;
  }
  if (!host) {
    return std::nullopt;
  }
  return mended(parts.user, ":@") + *host + std::string(parts.port);
}

/// The five parts of an address, without the signs that set them off.
struct Components {
  std::optional<std::string_view> scheme;
  std::optional<std::string_view> authority;
  std::string_view path;
  std::optional<std::string_view> query;
  std::optional<std::string_view> fragment;
};

/// Cuts off the end of `text` from the first `sign` on and returns what follows the sign.
std::optional<std::string_view> cutFrom(std::string_view& text, char sign) {
  const std::size_t position = text.find(sign);
  if (position == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view cut = text.substr(position + 1);
  text = text.substr(0, position);
  return cut;
}

Components split(std::string_view text) {
  Components parts;
  parts.fragment = cutFrom(text, '#');
  parts.query = cutFrom(text, '?');
  if (const std::size_t colon = text.find_first_of(":/");
      colon != std::string_view::npos && text[colon] == ':') {
    parts.scheme = text.substr(0, colon);
    text.remove_prefix(colon + 1);
  }
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    const std::size_t slash = std::min(text.find('/'), text.size());
    parts.authority = text.substr(0, slash);
    text.remove_prefix(slash);
  }
  parts.path = text;
  return parts;
}

}  // namespace

std::optional<URL> URL::fromString(std::string_view text) {
  if (text.empty() || !isUTF8(text)) {
    return std::nullopt;
  }
  const Components parts = split(text);
  std::string absolute;
  if (parts.scheme) {
    if (!isScheme(*parts.scheme)) {
      return std::nullopt;
    }
    absolute.append(*parts.scheme).append(":");
  }
  if (parts.authority) {
    const auto authority = mendedAuthority(*parts.authority);
    if (!authority) {
      return std::nullopt;
    }
    absolute.append("//").append(*authority);
  }
  absolute += mended(parts.path, ":@/");
  if (parts.query) {
    absolute.append("?").append(mended(*parts.query, ":@/?"));
  }
  if (parts.fragment) {
    absolute.append("#").append(mended(*parts.fragment, ":@/?"));
  }
  return URL(std::move(absolute));
}

URL URL::fileURLWithPath(std::string_view path) {
  // In a path on the disk the percent sign is a character like any other.
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  if (error) {
    fatalError("\"" + std::string(path) + "\" is no path: " + error.message());
  }
  std::string encoded;
  for (const char c : absolute.native()) {
    if (isAllowed(c, ":@/")) {
      encoded += c;
    } else {
      appendPercentEncoded(encoded, c);
    }
  }
  return URL("file://" + encoded);
}

std::optional<std::string> URL::path() const {
  constexpr std::string_view kFile = "file://";
  if (!absolute_.starts_with(kFile)) {
    return std::nullopt;
  }
  std::string decoded;
  for (std::size_t at = kFile.size(); at < absolute_.size(); ++at) {
    unsigned byte = static_cast<unsigned char>(absolute_[at]);
    if (byte == '%' && at + 2 < absolute_.size()) {
      const char* const digits = absolute_.data() + at + 1;
      if (std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
        at += 2;
      }
    }
    decoded += static_cast<char>(byte);
  }
  return decoded;
}

std::optional<std::string> URL::scheme() const {
  return split(absolute_).scheme.transform([](std::string_view text) { return std::string(text); });
}

std::optional<std::string> URL::host() const {
  const auto authority = split(absolute_).authority;
  if (!authority) {
    return std::nullopt;
  }
  std::string_view host = splitAuthority(*authority).host;
  if (host.starts_with('[')) {
    host = host.substr(1, host.size() - 2);
  }
  return host.empty() ? std::nullopt : std::optional(std::string(host));
}

}  // namespace platform
