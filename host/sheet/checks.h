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

enum class Check {
  textTruncated,
  wordBroken,
  textOutside,
  textsOverlap,
  imageMissing,
  translationMissing,
  contrastLow,
  tapAreaSmall,
};

/// "text-truncated"
std::string_view nameOf(Check check);

struct Finding {
  Check check;
  /// For people: names the text or image, and the measured value.
  std::string says;
  /// The reason to accept it; empty for a new finding.
  std::string accepted = {};
  friend bool operator==(const Finding&, const Finding&) = default;
};

/// The lowest contrast of text of usual sizes, by WCAG 2.
inline constexpr double kMinContrast = 4.5;
/// The shortest side of a tap area, in points.
inline constexpr double kMinTapSide = 44;

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
