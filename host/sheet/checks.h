#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/render/layout/display_list.h"
#include "platform/render/pixels/bitmap.h"
#include "platform/swiftui/color.h"

// Checks that need no goldens: they find probable faults in the display list and the pixels.

namespace host {

/// The names of the checks, as in the sheet's files.
namespace check {
inline constexpr std::string_view textTruncated = "text-truncated";
inline constexpr std::string_view wordBroken = "word-broken";
inline constexpr std::string_view textOutside = "text-outside";
inline constexpr std::string_view textsOverlap = "texts-overlap";
inline constexpr std::string_view imageMissing = "missing-image";
inline constexpr std::string_view translationMissing = "missing-translation";
inline constexpr std::string_view contrastLow = "low-contrast";
inline constexpr std::string_view tapAreaSmall = "small-tap-area";
}  // namespace check

struct Finding {
  /// One of `check`.
  std::string_view name;
  /// For people: names the text or image, and the measured value.
  std::string says;
  /// The reason to accept it; empty for a new finding.
  std::string accepted = {};
  friend bool operator==(const Finding&, const Finding&) = default;
};

/// All checks but the contrast. `missingImages` are names of images that the bundle does not have.
std::vector<Finding> checkList(const platform::DisplayList& list,
                               const std::set<std::string>& missingImages);

/// Renders a list at the `scale` of `checkContrast`.
using Draw = std::function<platform::Bitmap(const platform::DisplayList&)>;

/// Finds texts whose contrast with the pixels beneath them is too low. Calls `draw` for each text
/// with the part of the list beneath it. `scale` is in pixels a point.
std::vector<Finding> checkContrast(const platform::DisplayList& list,
                                   platform::ColorScheme scheme,
                                   int scale,
                                   const Draw& draw);

/// The contrast, 1 to 21, of a text in that colour with the pixels beneath it, as the tenth
/// percentile: a tenth of the pixels have less. Transparent pixels show white in the light scheme
/// and black in the dark one. Samples one pixel of every `step` in both directions.
double contrastOn(const platform::Bitmap& beneath,
                  const platform::Color& text,
                  platform::ColorScheme scheme,
                  int step);

}  // namespace host
