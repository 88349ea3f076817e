#include "platform/foundation/locale/locale.h"

#include <unicode/uloc.h>

#include <algorithm>

#include "platform/foundation/time/device.h"

namespace platform {

namespace {

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isLetterOrDigit(char c) {
  return isLetter(c) || (c >= '0' && c <= '9');
}

/// Whether every part of `text` between two of the separators holds to `isPart`.
template <class Predicate>
bool allParts(std::string_view text, std::string_view separators, Predicate isPart) {
  for (;;) {
    const std::size_t end = text.find_first_of(separators);
    if (!isPart(text.substr(0, end))) {
      return false;
    }
    if (end == std::string_view::npos) {
      return true;
    }
    text.remove_prefix(end + 1);
  }
}

/// "es", "es_MX", "zh-Hant-TW", "ar_EG@numbers=latn;calendar=gregorian".
bool isWellFormed(std::string_view identifier) {
  const auto isSubtag = [](std::string_view part) {
    return !part.empty() && part.size() <= 8 && std::ranges::all_of(part, isLetterOrDigit);
  };
  const auto isKeyword = [](std::string_view part) {
    const std::size_t equals = part.find('=');
    const auto isName = [](std::string_view name) {
      return !name.empty() && std::ranges::all_of(name, [](char c) {
        return isLetterOrDigit(c) || c == '-' || c == '_' || c == '/';
      });
    };
    return equals != std::string_view::npos && isName(part.substr(0, equals)) &&
           isName(part.substr(equals + 1));
  };
  const std::size_t at = identifier.find('@');
  return allParts(identifier.substr(0, at), "_-", isSubtag) &&
         (at == std::string_view::npos || allParts(identifier.substr(at + 1), ";", isKeyword));
}

}  // namespace

Locale Locale::current() {
  return Locale(currentDevice().locale);
}

std::optional<Locale> Locale::withIdentifier(std::string_view identifier) {
  Locale locale{std::string(identifier)};
  const auto language = locale.languageCode();
  // ICU gives every language it knows a code of three letters, from a table that needs no loading.
  if (!language || !isWellFormed(identifier) || *uloc_getISO3Language(language->c_str()) == '\0') {
    return std::nullopt;
  }
  return locale;
}

std::optional<std::string> Locale::languageCode() const {
  std::string language = identifier_.substr(0, identifier_.find_first_of("_-@"));
  if (language.size() < 2 || language.size() > 8 || !std::ranges::all_of(language, isLetter)) {
    return std::nullopt;
  }
  std::ranges::transform(language, language.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return language;
}

bool isWrittenRightToLeft(const std::string& language) {
  return uloc_isRightToLeft(language.c_str()) != 0;
}

std::vector<std::string> availableLocaleIdentifiers() {
  std::vector<std::string> identifiers;
  for (int32_t index = 0; index < uloc_countAvailable(); ++index) {
    identifiers.emplace_back(uloc_getAvailable(index));
  }
  return identifiers;
}

}  // namespace platform
