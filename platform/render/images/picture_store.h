#pragma once

#include <cstddef>
#include <expected>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "platform/render/images/asset_catalog.h"
#include "platform/render/images/picture.h"
#include "platform/swiftui/color_scheme.h"

namespace platform {

/// The pictures of a bundle. Keeps those that it has loaded, and the sizes that they were stretched
/// to.
///
/// A drawing is loaded from its pre-rendered pixels, so that the library that draws SVG, slow to
/// load, is not needed. Without them it is drawn here, with the same pixels.
class PictureStore {
 public:
  /// Null for a picture that the bundle does not have; the error names the file at fault.
  using Result = std::expected<std::shared_ptr<const Picture>, std::string>;

  /// `svgModule` is the library that draws SVG.
  PictureStore(std::filesystem::path catalog, std::filesystem::path svgModule)
      : catalog_(std::move(catalog)), svgModule_(std::move(svgModule)) {}

  /// In points; empty for a picture that can't be read, whose drawing fails.
  std::optional<Size> naturalSize(std::string_view name);

  /// The picture in as many pixels as it has for that scale, 1 to 4.
  Result picture(std::string_view name, ColorScheme scheme, double scale);

  /// The picture stretched to that many pixels, 1 to 8192 a side; beyond that the error names it.
  Result stretched(std::string_view name, ColorScheme scheme, double scale, int width, int height);

  const std::set<std::string>& missing() const { return missing_; }

 private:
  std::expected<Picture, std::string> load(const ImageFile& file, int scale) const;

  /// By file and scale, which is 0 for a file that has its own.
  using FileKey = std::pair<std::string, int>;
  using StretchKey = std::tuple<std::shared_ptr<const Picture>, int, int>;

  AssetCatalog catalog_;
  std::filesystem::path svgModule_;
  std::map<FileKey, std::shared_ptr<const Picture>> loaded_;
  std::map<StretchKey, std::shared_ptr<const Picture>> stretched_;
  std::size_t stretchedPixels_ = 0;
  std::set<std::string> missing_;
};

}  // namespace platform
