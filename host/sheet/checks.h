#pragma once

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/render/layout/display_list.h"
#include "platform/render/pixels/bitmap.h"
#include "platform/swiftui/color.h"

// What is worth a look in a widget, though it is no fault by itself: found in the display list and
// the pixels, without a picture to compare with.

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
  /// A sentence for people, with the text or picture in question and the figure.
  std::string says;
  /// Why it may stay; empty of a finding that nobody has accepted.
  std::string accepted = {};
  friend bool operator==(const Finding&, const Finding&) = default;
};

/// Contrast that text needs at least, by WCAG 2 for its usual sizes.
inline constexpr double kLeastContrast = 4.5;
/// A side that a finger hits, in points.
inline constexpr double kLeastTapSide = 44;

/// What can be said without pixels. `missingImages` are pictures that the bundle does not have.
std::vector<Finding> checkList(const platform::DisplayList& list,
                               const std::set<std::string>& missingImages);

/// The pixels of a list, at some scale.
using Draw = std::function<platform::Bitmap(const platform::DisplayList&)>;

/// Texts that stand out too little from what is drawn beneath them, which `draw` is asked for in
/// pieces of `scale` pixels a point.
std::vector<Finding> checkContrast(const platform::DisplayList& list,
                                   platform::ColorScheme scheme,
                                   int scale,
                                   const Draw& draw);

/// The contrast, 1 to 21, of a text in that colour with the pixels beneath it: a tenth of them have
/// less. What is not painted shows the scheme's white or black. One pixel of every `step` in either
/// direction is looked at.
double contrastOn(const platform::Bitmap& beneath,
                  const platform::Color& text,
                  platform::ColorScheme scheme,
                  int step);

}  // namespace host
