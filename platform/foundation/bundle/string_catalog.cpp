#include "platform/foundation/bundle/string_catalog.h"

#include <unicode/plurrule.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <set>

#include "platform/foundation/data/json_serialization.h"

namespace platform {

namespace {

const Dictionary* member(const Dictionary* of, std::string_view key) {
  const Value* value = of ? of->find(key) : nullptr;
  return value ? value->dictionary() : nullptr;
}

/// The plural form ("one", "few", "other", ...) of a number in a language.
std::string pluralForm(std::string_view language, std::int64_t number) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale locale(std::string(language).c_str());
  const std::unique_ptr<icu::PluralRules> rules(icu::PluralRules::forLocale(locale, status));
  std::string form;
  return U_SUCCESS(status) ? rules->select(static_cast<double>(number)).toUTF8String(form)
                           : "other";
}

const Dictionary* formOrOther(const Dictionary& forms, std::string_view form) {
  const Dictionary* exact = member(&forms, form);
  return exact ? exact : member(&forms, "other");
}

/// A localisation is a text, or variations whose forms are localisations in turn.
std::optional<std::string> resolve(const Dictionary* localization,
                                   std::string_view language,
                                   const std::vector<std::int64_t>& arguments) {
  // The unit beside substitutions is text with gaps that only they fill.
  if (!localization || localization->find("substitutions")) {
    return std::nullopt;
  }
  if (const Dictionary* unit = member(localization, "stringUnit")) {
    return unit->string("value");
  }
  const Dictionary* variations = member(localization, "variations");
  if (const Dictionary* forms = member(variations, "device")) {
    return resolve(formOrOther(*forms, "iphone"), language, arguments);
  }
  if (const Dictionary* forms = member(variations, "plural")) {
    const std::int64_t number = arguments.empty() ? 0 : arguments.front();
    return resolve(formOrOther(*forms, pluralForm(language, number)), language, arguments);
  }
  return std::nullopt;
}

}  // namespace

std::expected<StringCatalog, std::string> StringCatalog::parse(const Data& json) {
  const auto root = NSJSONSerialization::JSONObjectWithData(json);
  if (!root) {
    return std::unexpected(root.error().debugDescription);
  }
  const Dictionary* strings = member(root->dictionary(), "strings");
  const auto source = root->dictionary() ? root->dictionary()->string("sourceLanguage")
                                         : std::optional<std::string>();
  if (!strings || !source) {
    return std::unexpected(R"(a string catalogue needs "sourceLanguage" and "strings")");
  }
  StringCatalog catalog;
  catalog.sourceLanguage_ = *source;
  catalog.strings_ = *strings;
  std::set<std::string> languages = {*source};
  for (const auto& [key, entry] : *strings) {
    if (const Dictionary* localizations = member(entry.dictionary(), "localizations")) {
      for (const auto& [language, localization] : *localizations) {
        languages.insert(language);
      }
    }
  }
  catalog.languages_.assign(languages.begin(), languages.end());
  return catalog;
}

std::optional<std::string> StringCatalog::text(std::string_view key,
                                               std::string_view language,
                                               const std::vector<std::int64_t>& arguments) const {
  const Value* entry = strings_.find(key);
  const Dictionary* localizations = entry ? member(entry->dictionary(), "localizations") : nullptr;
  return resolve(member(localizations, language), language, arguments);
}

std::string formatArguments(std::string_view format, const std::vector<std::int64_t>& arguments) {
  std::string text;
  std::size_t next = 0;
  while (!format.empty()) {
    const std::size_t percent = format.find('%');
    text += format.substr(0, percent);
    if (percent == std::string_view::npos) {
      break;
    }
    format.remove_prefix(percent);
    std::string_view rest = format.substr(1);
    if (rest.starts_with('%')) {
      text += '%';
      format.remove_prefix(2);
      continue;
    }
    std::size_t index = next;
    std::size_t position = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), position);
    const bool positional =
        error == std::errc() && position > 0 && end < rest.data() + rest.size() && *end == '$';
    if (positional) {
      index = position - 1;
      rest.remove_prefix(static_cast<std::size_t>(end - rest.data()) + 1);
    }
    constexpr std::string_view kSpecifiers[] = {"lld", "ld", "d", "@"};
    const auto* specifier = std::ranges::find_if(
        kSpecifiers, [&](std::string_view candidate) { return rest.starts_with(candidate); });
    if (specifier == std::end(kSpecifiers) || index >= arguments.size()) {
      text += '%';
      format.remove_prefix(1);
      continue;
    }
    text += std::to_string(arguments[index]);
    next += positional ? 0 : 1;
    format = rest.substr(specifier->size());
  }
  return text;
}

}  // namespace platform
