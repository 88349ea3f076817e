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
/// Plain texts, device variations (a phone's, else "other") and plural variations (chosen by the
/// first argument) are read. An entry in another form, one with substitutions for example, has no
/// text; the others do.
class StringCatalog {
 public:
  StringCatalog() = default;
  /// The error says what is wrong and where.
  static std::expected<StringCatalog, std::string> parse(const Data& json);

  const std::string& sourceLanguage() const { return sourceLanguage_; }
  /// Every language that has a text, and the source language.
  const std::vector<std::string>& languages() const { return languages_; }

  /// The text of `key` in exactly that language, before formatting; nothing if there is none.
  std::optional<std::string> text(std::string_view key,
                                  std::string_view language,
                                  const std::vector<std::int64_t>& arguments) const;

 private:
  std::string sourceLanguage_ = "en";
  std::vector<std::string> languages_ = {};
  Dictionary strings_ = {};
};

/// Replaces `%lld`, `%ld`, `%d`, `%@` and their positional forms (`%2$lld`) by the arguments, `%%`
/// by a percent sign; what has no argument stays as it is.
std::string formatArguments(std::string_view format, const std::vector<std::int64_t>& arguments);

}  // namespace platform
