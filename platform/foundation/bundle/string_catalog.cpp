#include "platform/foundation/bundle/string_catalog.h"

#include <unicode/plurrule.h>

#include <charconv>
#include <memory>
#include <set>

#include "platform/foundation/data/json_serialization.h"
#include "platform/support/pattern.h"

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

/// The text of a localisation: its own, or that of one of its variations, which are localisations
/// in turn.
std::optional<std::string> resolve(const Dictionary* localization,
                                   std::string_view language,
                                   const std::vector<std::int64_t>& arguments) {
  // A unit beside substitutions has placeholders that only the substitutions fill.
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
  const Dictionary* members = root->dictionary();
  const Dictionary* strings = member(members, "strings");
  const auto source = members ? members->string("sourceLanguage") : std::nullopt;
  if (!strings || !source) {
    return std::unexpected(R"(a string catalogue needs "sourceLanguage" and "strings")");
  }
  std::set<std::string> languages = {*source};
  for (const auto& [key, entry] : *strings) {
    if (const Dictionary* localizations = member(entry.dictionary(), "localizations")) {
      for (const auto& [language, localization] : *localizations) {
        languages.insert(language);
      }
    }
  }
  StringCatalog catalog;
  catalog.sourceLanguage_ = *source;
  catalog.languages_.assign(languages.begin(), languages.end());
  catalog.strings_ = *strings;
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
  while (format.find('%') != format.npos) {
    static const Pattern specifier("%(%|(([0-9]{1,3})[$])?(lld|ld|d|@))");
    const auto found = specifier.find<3>(format);
    if (!found) {
      break;
    }
    const auto [whole, kind, prefix, position] = *found;
    text.append(format.data(), whole.data());
    format.remove_prefix(static_cast<std::size_t>(whole.end() - format.begin()));
    std::size_t number = next + 1;
    std::from_chars(position.begin(), position.end(), number);
    if (kind == "%") {
      text += kind;
    } else if (number < 1 || number > arguments.size()) {
      text += whole;
    } else {
      text += std::to_string(arguments[number - 1]);
      next += prefix.empty() ? 1 : 0;
    }
  }
  return text.append(format);
}

}  // namespace platform
