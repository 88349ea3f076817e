#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/data/value.h"

namespace platform {

/// A string catalogue (`.xcstrings`): texts by key and language.
///
/// Supports plain texts, device variations (the phone's, else "other") and plural variations
/// (chosen by the first argument). An entry in another form, such as one with substitutions, has no
/// text.
class StringCatalog {
 public:
  StringCatalog() = default;
  /// The error says what is wrong with the JSON text and where.
  static std::expected<StringCatalog, std::string> parse(const Data& json);

  const std::string& sourceLanguage() const { return sourceLanguage_; }
  /// The languages that have a text, and the source language.
  const std::vector<std::string>& languages() const { return languages_; }

  /// The text of `key` in exactly that language, unformatted; nothing if there is none.
  std::optional<std::string> text(std::string_view key,
                                  std::string_view language,
                                  const std::vector<std::int64_t>& arguments) const;

 private:
  std::string sourceLanguage_ = "en";
  std::vector<std::string> languages_ = {};
  Dictionary strings_ = {};
};

/// Replaces `%lld`, `%ld`, `%d`, `%@` and their positional forms (`%2$lld`) with the arguments and
/// `%%` with a percent sign. Specifiers without an argument stay as they are.
std::string formatArguments(std::string_view format, const std::vector<std::int64_t>& arguments);

}  // namespace platform
