#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/swiftui/color_scheme.h"

namespace platform {

/// One file of an image set.
struct ImageFile {
  std::filesystem::path path;
  /// Pixels a point; 0 for a drawing, which serves every scale.
  int scale = 1;
  /// For the dark scheme alone.
  bool dark = false;

  bool isDrawing() const { return path.extension() == ".svg"; }
  friend bool operator==(const ImageFile&, const ImageFile&) = default;
};

/// Reads the `Contents.json` of an image set's folder: the files that a phone may show, in the
/// catalogue's order. Slots without a file, and files for other devices, display gamuts and reading
/// directions, are left out. The error names the file and what is wrong.
std::expected<std::vector<ImageFile>, std::string> readImageSet(
    const std::filesystem::path& folder);

/// The file to draw from: of the scheme's own files, or else of the general ones, a drawing, or the
/// one with the fewest pixels that are enough for `scale`, or the largest. Null if there is none.
const ImageFile* choose(const std::vector<ImageFile>& files, ColorScheme scheme, double scale);

}  // namespace platform
