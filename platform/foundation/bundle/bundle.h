#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/data/value.h"

namespace platform {

class StringCatalog;

/// A folder with an Info dictionary and resources.
///
/// A cheap handle: copies share what has been read. Each file is read once, at its first use. Safe
/// from any thread.
class NSBundle {
 public:
  /// `infoOverrides` replace the Info dictionary's values of the same keys.
  explicit NSBundle(std::filesystem::path folder, Dictionary infoOverrides = {});

  /// The bundle of the running program: the folder of its executable, unless one was set.
  static NSBundle mainBundle();
  static void setMainBundle(NSBundle bundle);

  const std::filesystem::path& bundlePath() const;
  const Dictionary& infoOverrides() const;

  /// `Info.plist` with the overrides; nothing if the file is missing or can't be read.
  std::optional<Dictionary> infoDictionary() const;

  /// The string catalogue `Localizable.xcstrings`; empty if there is none. If the file can't be
  /// read, this is what the process last read from it, or an empty catalogue; a line on standard
  /// error names the file and the error, once until the error changes.
  const StringCatalog& strings() const;

  /// The text of `key` in the user's language: the first of the device's languages that the
  /// catalogue has (a regional one falls back to its plain language), else the development region.
  /// The key itself if it has no text in that language. `%lld`, `%d` and `%@` take the arguments in
  /// order, in decimal digits.
  std::string localizedString(std::string_view key,
                              const std::vector<std::int64_t>& arguments = {}) const;

  /// The language of the catalogue that `localizedString` uses now.
  std::string localization() const;

 private:
  struct Contents;
  std::shared_ptr<Contents> contents_;
};

/// The first of `preferred` (language tags, "es-MX" or "es_MX") that is available itself or as its
/// plain language, else `developmentRegion`.
std::string preferredLocalization(const std::vector<std::string>& available,
                                  const std::vector<std::string>& preferred,
                                  std::string_view developmentRegion);

}  // namespace platform
