#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// A locale identifier, such as "es_MX".
class Locale {
 public:
  /// The device's current locale.
  static Locale current();
  /// Nothing for an identifier that is malformed or whose language is unknown.
  static std::optional<Locale> withIdentifier(std::string_view identifier);

  /// As given, "es_MX".
  const std::string& identifier() const { return identifier_; }
  /// "es", without the region; nothing if the identifier has no valid language.
  std::optional<std::string> languageCode() const;

 private:
  explicit Locale(std::string identifier) : identifier_(std::move(identifier)) {}

  std::string identifier_;
};

/// Whether the language of a tag ("ar", "he-IL") is written from right to left.
bool isWrittenRightToLeft(const std::string& language);

/// Every locale identifier whose texts the system has, sorted.
std::vector<std::string> availableLocaleIdentifiers();

}  // namespace platform
