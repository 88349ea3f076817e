#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/render/images/image_set.h"

namespace platform {

/// The image sets of an `Assets.xcassets` folder, by name.
///
/// Sets may lie in groups, folders within the catalogue; a group that provides a namespace puts its
/// name and a slash before theirs. Files are read when they are first asked for.
class AssetCatalog {
 public:
  explicit AssetCatalog(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// Null if the catalogue has no such set; the error names the file at fault. Stays valid.
  std::expected<const std::vector<ImageFile>*, std::string> imageSet(std::string_view name);

 private:
  std::optional<std::filesystem::path> find(const std::string& name);
  void addGroup(const std::filesystem::path& folder, const std::string& prefix);

  std::filesystem::path folder_;
  /// Folders of sets in groups; made when a set isn't at the top level.
  std::optional<std::map<std::string, std::filesystem::path, std::less<>>> grouped_;
  std::map<std::string, std::vector<ImageFile>, std::less<>> sets_;
};

}  // namespace platform
