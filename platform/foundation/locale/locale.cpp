#include "platform/foundation/locale/locale.h"

#include <unicode/uloc.h>

#include <algorithm>
#include <cctype>

#include "platform/foundation/time/device.h"
#include "platform/support/pattern.h"

namespace platform {

namespace {

/// "es", "es_MX", "zh-Hant-TW", "ar_EG@numbers=latn;calendar=gregorian".
bool isWellFormed(std::string_view identifier) {
  static const Pattern form(
      "[A-Za-z0-9]{1,8}([_-][A-Za-z0-9]{1,8})*(@([A-Za-z0-9_/-]+=[A-Za-z0-9_/-]+(;|$))+)?");
  return form.matches(identifier) && !identifier.ends_with(';');
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
  if (language.size() < 2 || language.size() > 8 ||
      !std::ranges::all_of(language, [](unsigned char c) { return std::isalpha(c); })) {
    return std::nullopt;
  }
  std::ranges::transform(
      language, language.begin(), [](unsigned char c) { return std::tolower(c); });
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
