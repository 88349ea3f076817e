#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/swiftui/color_scheme.h"

namespace platform {

/// One file of an image set.
struct ImageFile {
  std::filesystem::path path;
  /// Pixels a point; 0 for an SVG drawing, which serves every scale.
  int scale = 1;
  /// Only for the dark scheme.
  bool dark = false;

  bool isDrawing() const { return scale == 0; }
};

/// The image sets of an `Assets.xcassets` folder, by name.
///
/// Sets may lie in groups, folders within the catalogue; a group that provides a namespace puts its
/// name and a slash before theirs. Files for other devices than phones, other display gamuts and
/// other reading directions are left out. A `Contents.json` is read when its set is first needed.
class AssetCatalog {
 public:
  explicit AssetCatalog(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// The file to draw from: of the scheme's own files, or else of the general ones, a drawing, or
  /// the file with the fewest pixels that are enough for `scale`, or the largest. Null if there is
  /// none. The error names a damaged `Contents.json`. The result stays valid.
  std::expected<const ImageFile*, std::string> file(std::string_view name,
                                                    ColorScheme scheme,
                                                    double scale);

 private:
  using Files = std::vector<ImageFile>;

  /// Null if the catalogue has no such set.
  std::expected<const Files*, std::string> imageSet(std::string_view name);
  void addSets(const std::filesystem::path& folder, const std::string& prefix);

  std::filesystem::path folder_;
  /// Read when a set is not in it. Of two sets with one name, the one in fewer groups.
  std::map<std::string, std::filesystem::path, std::less<>> folders_;
  std::map<std::string, Files, std::less<>> sets_;
};

}  // namespace platform
