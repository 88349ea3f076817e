#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/sheet/image_renderer.h"
#include "host/sheet/output_folder.h"

// Goldens are the images and display lists of an earlier sheet, with the same file names.

namespace host {

struct PixelSize {
  int width = 0;
  int height = 0;
  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

/// An image of this run that is not the golden one, or a golden image without one of this run.
struct Difference {
  /// "pixels", "size", "display-list", "missing", "unreadable" or "extra".
  std::string_view kind = "pixels";
  /// As `RenderJob::name`.
  std::string name = {};
  std::optional<PixelSize> expected = {};
  std::optional<PixelSize> actual = {};
  /// The number of pixels that differ in any channel.
  std::size_t pixels = 0;
  /// The largest difference of a channel, and the mean over all channels of all pixels. Channels
  /// are red, green, blue and opacity, premultiplied, from 0 to 255.
  int largest = 0;
  double mean = 0;
  /// Why the golden image can't be read.
  std::string reason = {};
};

/// Compares the pixels, then the display list if the goldens have one. Files with other bytes but
/// the same pixels are equal. Where something differs, writes the image into the report's folders
/// "expected", "actual" and "difference", as far as they apply. Safe from any thread.
std::optional<Difference> compareWithGolden(const std::filesystem::path& goldens,
                                            const std::string& name,
                                            const RenderedImage& image,
                                            platform::Renderer& renderer,
                                            OutputFolder& report);

/// The golden images of these widgets whose names are not in `known`, sorted by name.
std::vector<Difference> extraGoldens(const std::filesystem::path& goldens,
                                     std::span<const std::string_view> kinds,
                                     const std::set<std::string>& known);

/// Replaces a file in one step, unless it has these bytes already. Throws an error that names the
/// file.
void acceptGolden(const std::filesystem::path& file, std::string_view bytes);

}  // namespace host
