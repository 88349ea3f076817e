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
/// A cheap handle: copies share what has been read, each file once, at its first use. Safe from any
/// thread.
class NSBundle {
 public:
  /// `infoOverrides` replace values of the Info dictionary under their keys.
  explicit NSBundle(std::filesystem::path folder, Dictionary infoOverrides = {});

  /// The bundle of the running program: the folder of its executable, unless one was set.
  static NSBundle mainBundle();
  static void setMainBundle(NSBundle bundle);

  const std::filesystem::path& bundlePath() const;
  const Dictionary& infoOverrides() const;

  /// `Info.plist` with the overrides; nothing if there is no such file or it can't be read.
  std::optional<Dictionary> infoDictionary() const;

  /// The string catalogue `Localizable.xcstrings`; empty if there is none. In place of one that
  /// can't be read stands the last one that this process read from the same file, else an empty
  /// one; a line on standard error names the file and says what is wrong, once until that changes.
  const StringCatalog& strings() const;

  /// The text of `key` in the user's language: the first of the device's languages that the
  /// catalogue has, a regional one falling back to its plain language, else the development region.
  /// A key without a text there stands for itself. `%lld`, `%d` and `%@` take the arguments in
  /// order, in plain decimal digits.
  std::string localizedString(std::string_view key,
                              const std::vector<std::int64_t>& arguments = {}) const;

  /// The catalogue's language that `localizedString` uses now.
  std::string localization() const;

 private:
  struct Contents;
  std::shared_ptr<Contents> contents_;
};

/// The language of `available` to show: the first of `preferred` (language tags, "es-MX" or
/// "es_MX") that is there as it is or as its plain language, else `developmentRegion`.
std::string preferredLocalization(const std::vector<std::string>& available,
                                  const std::vector<std::string>& preferred,
                                  std::string_view developmentRegion);

}  // namespace platform
