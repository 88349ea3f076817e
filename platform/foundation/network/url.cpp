#include "platform/foundation/network/url.h"

#include <arpa/inet.h>
#include <unicode/bytestream.h>
#include <unicode/idna.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <memory>
#include <system_error>

#include "platform/support/pattern.h"
#include "platform/support/require.h"
#include "platform/support/utf8.h"

namespace platform {

namespace {

/// Whether a character may stand unencoded in every part of a URL, or is one of `others`, which its
/// part also allows.
bool isAllowed(char c, std::string_view others) {
  constexpr std::string_view kUnreservedAndDelimiters = "-._~!$&'()*+,;=";
  return std::isalnum(static_cast<unsigned char>(c)) ||
         kUnreservedAndDelimiters.find(c) != std::string_view::npos ||
         others.find(c) != std::string_view::npos;
}

bool isPercentEncoding(std::string_view text) {
  return text.size() >= 3 && text[0] == '%' &&
         std::ranges::all_of(text.substr(1, 2), [](unsigned char c) { return std::isxdigit(c); });
}

/// Percent-encodes what is not allowed in a part of a URL. `keepsEncodings` leaves the encodings
/// that the text already has.
std::string encoded(std::string_view text, std::string_view others, bool keepsEncodings = true) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (isAllowed(text[i], others) || (keepsEncodings && isPercentEncoding(text.substr(i)))) {
      result += text[i];
    } else {
      result += {'%', kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
  }
  return result;
}

/// The platform lets a URL begin with its colon; its scheme is then empty.
bool isScheme(std::string_view text) {
  return text.empty() || (std::isalpha(static_cast<unsigned char>(text[0])) &&
                          std::ranges::all_of(text, [](unsigned char c) {
                            return std::isalnum(c) || c == '+' || c == '-' || c == '.';
                          }));
}

bool isRegisteredName(std::string_view text) {
  return encoded(text, "") == text;
}

/// The text between brackets: an IPv6 address, or one of a later version ("v7.x:y").
bool isAddressLiteral(std::string_view text) {
  static const Pattern later("[vV][0-9A-Fa-f]+\\.[A-Za-z0-9._~!$&'()*+,;=:-]+");
  in6_addr address;
  return later.matches(text) || (text.find('\0') == std::string_view::npos &&
                                 ::inet_pton(AF_INET6, std::string(text).c_str(), &address) == 1);
}

/// The host with letters outside ASCII in punycode; nothing if it is not a valid registered name.
std::optional<std::string> encodedHost(std::string_view host) {
  if (std::ranges::all_of(host, [](char c) { return static_cast<signed char>(c) >= 0; })) {
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

/// The parts of "user@host:port"; the user includes its "@", the port its colon.
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
  // The colons of an address in brackets don't start a port.
  const std::size_t afterBrackets = text.starts_with('[') ? text.find(']') : 0;
  const std::size_t colon = afterBrackets == std::string_view::npos ? std::string_view::npos
                                                                    : text.find(':', afterBrackets);
  parts.host = text.substr(0, colon);
  parts.port = text.substr(parts.host.size());
  return parts;
}

std::optional<std::string> encodedAuthority(std::string_view text) {
  const Authority parts = splitAuthority(text);
  if (parts.port.find_first_not_of("0123456789", 1) != parts.port.npos) {
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
  return encoded(parts.user, ":@") + *host + std::string(parts.port);
}

/// The five parts of a URL, without the characters that separate them.
struct Components {
  std::optional<std::string_view> scheme;
  std::optional<std::string_view> authority;
  std::string_view path;
  std::optional<std::string_view> query;
  std::optional<std::string_view> fragment;
};

/// Cuts `text` off at the first separator and returns what follows that.
std::optional<std::string_view> cutFrom(std::string_view& text, char separator) {
  const std::size_t position = text.find(separator);
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
    const auto authority = encodedAuthority(*parts.authority);
    if (!authority) {
      return std::nullopt;
    }
    absolute.append("//").append(*authority);
  }
  absolute += encoded(parts.path, ":@/");
  if (parts.query) {
    absolute.append("?").append(encoded(*parts.query, ":@/?"));
  }
  if (parts.fragment) {
    absolute.append("#").append(encoded(*parts.fragment, ":@/?"));
  }
  return URL(std::move(absolute));
}

URL URL::fileURLWithPath(std::string_view path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  if (error) {
    fatalError("\"" + std::string(path) + "\" is not a path: " + error.message());
  }
  // In a path of a file the percent sign is a character like any other.
  return URL("file://" + encoded(absolute.native(), ":@/", false));
}

std::optional<std::string> URL::path() const {
  constexpr std::string_view kFile = "file://";
  if (!absolute_.starts_with(kFile)) {
    return std::nullopt;
  }
  std::string decoded;
  for (std::string_view rest = std::string_view(absolute_).substr(kFile.size()); !rest.empty();) {
    const bool isEncoding = isPercentEncoding(rest);
    auto byte = static_cast<unsigned char>(rest.front());
    if (isEncoding) {
      std::from_chars(rest.data() + 1, rest.data() + 3, byte, 16);
    }
    decoded += static_cast<char>(byte);
    rest.remove_prefix(isEncoding ? 3 : 1);
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
