#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// A language, a region and their customs.
class Locale {
 public:
  /// The device's locale at the moment of the call.
  static Locale current();
  /// Nothing for an identifier whose language nobody knows.
  static std::optional<Locale> withIdentifier(std::string_view identifier);

  /// As given, "es_MX".
  const std::string& identifier() const { return identifier_; }
  /// "es", without region; nothing where the identifier names no language.
  std::optional<std::string> languageCode() const;

 private:
  explicit Locale(std::string identifier) : identifier_(std::move(identifier)) {}

  std::string identifier_;
};

/// Whether the language (a tag, "ar" or "he-IL") is written from right to left.
bool isWrittenRightToLeft(const std::string& language);

/// Every locale identifier whose texts the system has, sorted.
std::vector<std::string> availableLocaleIdentifiers();

}  // namespace platform
